// Simple Unicode case folding, from the table generated from CaseFolding.txt.
#include "platform/case_folding.h"

#include <algorithm>
#include <iterator>

namespace OvxUtils::Unicode {
namespace {

struct FoldPair {
    char32_t from;
    char32_t to;
};

// Generated at configure time from the Unicode Character Database, sorted by code point.
constexpr FoldPair kFolds[] = {
#include "case_folding_table.inc"
};

}  // namespace

char32_t SimpleFold(char32_t cp) {
    if (cp < 0x80) return (cp >= 'A' && cp <= 'Z') ? cp + ('a' - 'A') : cp;
    const auto* it = std::lower_bound(std::begin(kFolds), std::end(kFolds), cp,
                                      [](const FoldPair& p, char32_t c) { return p.from < c; });
    return (it != std::end(kFolds) && it->from == cp) ? it->to : cp;
}

}  // namespace OvxUtils::Unicode
