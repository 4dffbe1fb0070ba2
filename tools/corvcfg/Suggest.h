// "Did you mean": the known words nearest to a mistyped one, for unknown
// commands and configuration names.
#pragma once

#include <string>
#include <vector>

// The candidates nearest to the typed word, in their given order: those at
// the smallest edit distance (insertions, deletions, substitutions and
// swaps of neighbours), when that distance is small enough to be a typing
// slip (1 for words of up to 4 characters, else 2).
std::vector<std::string> Nearest(const std::string& typed, const std::vector<std::string>& candidates);

// "did you mean a?", "did you mean a or b?", "did you mean a, b or c?";
// empty for no suggestion.
std::string DidYouMean(const std::vector<std::string>& suggestions);
