// Suggestions by edit distance.
#include "Suggest.h"

#include <algorithm>

namespace {

// The optimal string alignment distance: Levenshtein's, with the swap of
// two neighbouring characters ("gte" for "get") counted as one edit.
size_t Distance(const std::string& a, const std::string& b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  for (size_t j = 0; j <= b.size(); ++j) d[0][j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    for (size_t j = 1; j <= b.size(); ++j) {
      size_t cost = a[i - 1] == b[j - 1] ? 0 : 1;
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + cost});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  }
  return d[a.size()][b.size()];
}

}  // namespace

std::vector<std::string> Nearest(const std::string& typed,
                                 const std::vector<std::string>& candidates) {
  size_t best = typed.size() <= 4 ? 1 : 2;
  std::vector<std::string> nearest;
  for (const std::string& candidate : candidates) {
    if (candidate == typed) continue;
    size_t distance = Distance(typed, candidate);
    if (distance > best) continue;
    if (distance < best) nearest.clear();
    best = distance;
    if (std::find(nearest.begin(), nearest.end(), candidate) == nearest.end())
      nearest.push_back(candidate);
  }
  return nearest;
}

std::string DidYouMean(const std::vector<std::string>& suggestions) {
  if (suggestions.empty()) return std::string();
  std::string text = "did you mean ";
  for (size_t i = 0; i < suggestions.size(); ++i) {
    if (i > 0) text += i + 1 == suggestions.size() ? " or " : ", ";
    text += suggestions[i];
  }
  return text + "?";
}
