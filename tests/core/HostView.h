// The hardware object as a host sees it: an address and an order of virtual operations.
#pragma once

#include <string>
#include <vector>

// Calls each virtual operation of the object in the order that hosts expect, the destructor last, and returns
// the content of `called` after each.
std::vector<std::string> callInOrder(void* object, const std::string& called);
