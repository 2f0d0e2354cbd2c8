// Simple Unicode case folding, one code point to one code point.
#pragma once

namespace OvxUtils::Unicode {

// The simple case folding of cp (CaseFolding.txt, status C and S); cp itself when it
// has none.
char32_t SimpleFold(char32_t cp);

}  // namespace OvxUtils::Unicode
