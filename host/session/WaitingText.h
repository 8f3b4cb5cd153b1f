// What is known of gloves that are being waited for, as text. Throws only std::bad_alloc.
#pragma once

#include <string>

#include "host/recording/Layout.h"
#include "host/session/Session.h"

// "left glove not heard, right glove heard (-50 dBm), 12 other devices"
std::string waitingText(const Waiting& waiting, const Layout& layout);
