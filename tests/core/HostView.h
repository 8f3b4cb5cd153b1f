// The hardware object as a host has it: nothing but an address and an order of virtual operations.
#pragma once

#include <string>
#include <vector>

// Calls each virtual operation of the object in the order that hosts rely on, the destructor last, and gives
// what stands in `called` after each.
std::vector<std::string> callInOrder(void* object, const std::string& called);
