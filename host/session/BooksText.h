// The books of a recording as text and as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

#include "host/base/Failure.h"
#include "host/capture/Books.h"
#include "host/recording/Layout.h"

// The labels of the gloves, in the order of the books.
std::vector<std::string> gloveLabels(const Layout& layout);

// "left 0.3 % lost  right 0 % lost"
std::string lostText(const Books& books, const std::vector<std::string>& labels);
// A line for each glove, then whether and why they are not balanced.
std::string booksText(const Books& books, const std::vector<std::string>& labels);
// Keyed by label, with "balanced": true, false or null.
nlohmann::ordered_json booksJson(const Books& books, const std::vector<std::string>& labels);

// What is wrong, if anything; missing bytes of the capture are not.
std::optional<Failure> booksFailure(const Books& books, const std::vector<std::string>& labels);
