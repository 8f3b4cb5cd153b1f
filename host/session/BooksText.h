// The books of a recording as text and as JSON.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/base/Failure.h"
#include "host/capture/Books.h"
#include "host/recording/Layout.h"

// The labels of the gloves, in the order of the books.
std::vector<std::string> gloveLabels(const Layout& layout);

// "left 0.3 % lost  right 0 % lost"
std::string lostText(const Books& books, const std::vector<std::string>& labels);
// "1203 frames sent, 1190 recorded, 13 lost (1.1 %): 9 radio, 4 pairing", with another word for those that
// were kept.
std::string framesText(const GloveBooks& glove, std::string_view kept = "recorded");
// What was lost since an earlier state of the books: "3 frames: 2 radio, 1 pairing; 17 in all".
std::string newLossesText(const GloveBooks::Lost& earlier, const GloveBooks::Lost& now);
// Lines that say why the books are not balanced; empty if they are.
std::string balanceText(const Books& books, const std::vector<std::string>& labels);
// What the books can't explain, "; " between; empty if there is nothing. Of books that are not final only
// what can't change any more.
std::string contradictionsText(const Books& books, const std::vector<std::string>& labels);
// That parts of the capture are missing, in a sentence; empty if none are.
std::string incompleteText(const Books& books);
// Keyed by label, with "balanced": true, false or null.
nlohmann::ordered_json booksJson(const Books& books, const std::vector<std::string>& labels);

// What is wrong, if anything; missing bytes of the capture are not.
std::optional<Failure> booksFailure(const Books& books, const std::vector<std::string>& labels);
