// Feeds arbitrary bytes to the reader of the verification record, the file that a start
// reads from the data folder before it trusts anything else there. The input is the
// record's content between its opening bytes and its checksum, which the fuzzer adds, so
// that the search reaches the entries instead of stopping at the checksum. A record that
// reads is written again, and what that gives must read back to the same bytes.

#include "extensions/manager/verification_record.h"

#include <sodium.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

namespace {

constexpr std::string_view kMagic = "ovx-verification-record\n";
constexpr std::string_view kVersion = "1";

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool started = sodium_init() >= 0;
    if (!started) std::abort();
    std::string bytes(kMagic);
    bytes.append(reinterpret_cast<const char*>(data), size);
    std::array<unsigned char, 16> sum{};
    crypto_generichash(sum.data(), sum.size(), reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                       nullptr, 0);
    bytes.append(reinterpret_cast<const char*>(sum.data()), sum.size());

    const auto entries = OvxComponent::ParseVerificationRecord(bytes, kVersion);
    if (!entries) return 0;
    const std::string written = OvxComponent::FormatVerificationRecord(*entries, kVersion);
    const auto again = OvxComponent::ParseVerificationRecord(written, kVersion);
    if (!again || OvxComponent::FormatVerificationRecord(*again, kVersion) != written) std::abort();
    return 0;
}
