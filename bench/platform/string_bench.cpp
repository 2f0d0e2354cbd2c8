// CString costs on the paths that run for every log line, name lookup and XML attribute:
// UTF-8 conversion both ways and the case-insensitive comparison used by name caches,
// each beside the plain operation it replaces.

#include "OvxComponent/platform/cstring.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

namespace {

const CString kAscii = u"C:/ProgramData/Orvex/Extensions/x64/{6B2D6A10-1C1E-4E0B-9D1F-0A1B2C3D4E5F}/18.0.0.448/unpacked";
const CString kMixed = u"Ünïcødé Erweiterung für Straßen – ΣΊΣΥΦΟΣ 日本語 \U0001F600 content/appui.xslt";

void BM_Utf8Encode(benchmark::State& state, const CString& text) {
    for (auto _ : state) benchmark::DoNotOptimize(text.ToUtf8());
    state.SetBytesProcessed(state.iterations() * text.GetLength() * 2);
}
BENCHMARK_CAPTURE(BM_Utf8Encode, ascii, kAscii);
BENCHMARK_CAPTURE(BM_Utf8Encode, mixed, kMixed);

void BM_Utf8Decode(benchmark::State& state, const CString& text) {
    const std::string bytes = text.ToUtf8();
    for (auto _ : state) benchmark::DoNotOptimize(CString::FromUtf8(bytes));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}
BENCHMARK_CAPTURE(BM_Utf8Decode, ascii, kAscii);
BENCHMARK_CAPTURE(BM_Utf8Decode, mixed, kMixed);

// Baseline: exact comparison of two equal strings, the cheapest possible answer.
void BM_CompareExact(benchmark::State& state, const CString& text) {
    const CString other = text;
    for (auto _ : state) benchmark::DoNotOptimize(text.Compare(other));
}
BENCHMARK_CAPTURE(BM_CompareExact, ascii, kAscii);
BENCHMARK_CAPTURE(BM_CompareExact, mixed, kMixed);

void BM_CompareNoCase(benchmark::State& state, const CString& text) {
    CString upper;
    for (auto c : text.View()) upper += (c >= u'a' && c <= u'z') ? static_cast<CString::XCHAR>(c - 32) : c;
    for (auto _ : state) benchmark::DoNotOptimize(text.CompareNoCase(upper));
}
BENCHMARK_CAPTURE(BM_CompareNoCase, ascii, kAscii);
BENCHMARK_CAPTURE(BM_CompareNoCase, mixed, kMixed);

}  // namespace
