// The system's fetcher (libcurl on Linux, WinHTTP on Windows) against a real server on
// 127.0.0.1 that misbehaves in every way the channel must survive: each fault ends in a
// failure that names it, within the limits, with no more bytes delivered than allowed.
#include "OvxComponent/update/fetcher.h"
#include "support/http_test_server.h"
#include "update/canonical_json.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using OvxTest::Reply;
using Fault = Reply::Fault;

struct Fetched {
    OvxUtils::Result<unsigned> status;
    std::string body;
};

Fetched Fetch(const std::string& url, std::uint64_t maxBytes) {
    auto fetcher = OvxUpdate::MakeSystemFetcher();
    OvxUpdate::FetchLimits limits;
    limits.maxBytes = maxBytes;
    limits.stallTimeout = std::chrono::seconds(2);
    limits.totalTimeout = std::chrono::seconds(2);
    std::string body;
    auto status = fetcher->Fetch(url, limits, [&](std::string_view part) -> OvxUtils::Result<void> {
        body.append(part);
        return {};
    });
    return {std::move(status), std::move(body)};
}

TEST(SystemFetcher, EachServerFaultFailsWithItsReasonWithinTheLimits) {
    OvxTest::HttpTestServer server;
    const std::string body(1000, 'b');
    const struct {
        const char* name;
        Reply reply;
        std::uint64_t maxBytes;
        const char* reason;  // in the error; nullptr: no error
        unsigned status;
    } cases[] = {
        {"a whole body", {200, body}, 1000, nullptr, 200},
        {"not found", {404, "gone"}, 1000, nullptr, 404},
        {"unavailable", {503, "later"}, 1000, nullptr, 503},
        {"longer than allowed", {200, body}, 999, "too long", 0},
        {"announced longer than allowed", {200, "x", Fault::None, 1'000'000}, 1000, "too long", 0},
        {"truncated", {200, body, Fault::Truncated, 2000}, 5000, "download of", 0},
        {"reset midway", {200, body, Fault::Reset}, 5000, "download of", 0},
        {"endless", {200, "", Fault::Endless}, 100'000, "too long", 0},
        {"slow drip", {200, body, Fault::Drip}, 5000, "too slow", 0},
    };
    for (const auto& row : cases) {
        server.Set("/file", row.reply);
        auto fetched = Fetch(server.Url("/file"), row.maxBytes);
        EXPECT_LE(fetched.body.size(), row.maxBytes) << row.name;
        if (!row.reason) {
            ASSERT_TRUE(fetched.status) << row.name << ": " << fetched.status.ErrorText().ToUtf8();
            EXPECT_EQ(*fetched.status, row.status) << row.name;
            EXPECT_EQ(fetched.body, row.status == 200 ? row.reply.body : "") << row.name;
        } else {
            ASSERT_FALSE(fetched.status) << row.name;
            EXPECT_THAT(fetched.status.ErrorText().ToUtf8(), testing::HasSubstr(row.reason)) << row.name;
        }
    }
    auto refused = Fetch(OvxTest::HttpTestServer::RefusingUrl(), 100);
    ASSERT_FALSE(refused.status);
    EXPECT_THAT(refused.status.ErrorText().ToUtf8(), testing::HasSubstr("server unreachable"));
}

TEST(CanonicalJson, SignedBytesDependOnTheContentAlone) {
    const std::string deep = std::string(40, '[') + std::string(40, ']');
    const struct {
        const char* json;
        const char* canonical;  // nullptr: refused
    } cases[] = {
        {R"({ "b": 1, "a": [true, null, "x"] })", R"({"a":[true,null,"x"],"b":1})"},
        {R"({"q": "say \"hi\" \\ \n é"})", "{\"q\":\"say \\\"hi\\\" \\\\ \n \xC3\xA9\"}"},
        {R"({"n": -12, "big": 18446744073709551615})", R"({"big":18446744073709551615,"n":-12})"},
        {R"({"f": 1.5})", nullptr},
        {deep.c_str(), nullptr},
    };
    for (const auto& row : cases) {
        auto canonical = OvxUpdate::CanonicalJson(nlohmann::json::parse(row.json));
        if (row.canonical)
            EXPECT_EQ(canonical, std::string(row.canonical)) << row.json;
        else
            EXPECT_FALSE(canonical) << row.json;
    }
}

}  // namespace
