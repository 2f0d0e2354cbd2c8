#include "update/canonical_json.h"

namespace OvxUpdate {

using OvxUtils::Error;
using OvxUtils::Result;

namespace {

// Metadata nests a few levels deep; a document nested beyond this is hostile.
constexpr int kMaxDepth = 32;

void AppendString(std::string& out, const std::string& text) {
    out += '"';
    for (char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    out += '"';
}

Result<void> Append(std::string& out, const nlohmann::json& value, int depth) {
    if (depth > kMaxDepth) return Error{u"JSON nested more than 32 levels deep has no canonical form"};
    switch (value.type()) {
        case nlohmann::json::value_t::null: out += "null"; return {};
        case nlohmann::json::value_t::boolean: out += value.get<bool>() ? "true" : "false"; return {};
        case nlohmann::json::value_t::number_integer:
            out += std::to_string(value.get<std::int64_t>());
            return {};
        case nlohmann::json::value_t::number_unsigned:
            out += std::to_string(value.get<std::uint64_t>());
            return {};
        case nlohmann::json::value_t::string:
            AppendString(out, value.get_ref<const std::string&>());
            return {};
        case nlohmann::json::value_t::array: {
            out += '[';
            bool first = true;
            for (const auto& item : value) {
                if (!first) out += ',';
                first = false;
                if (auto appended = Append(out, item, depth + 1); !appended) return appended;
            }
            out += ']';
            return {};
        }
        case nlohmann::json::value_t::object: {
            // nlohmann's objects are ordered maps of std::string: iteration is in byte order.
            out += '{';
            bool first = true;
            for (const auto& [key, item] : value.items()) {
                if (!first) out += ',';
                first = false;
                AppendString(out, key);
                out += ':';
                if (auto appended = Append(out, item, depth + 1); !appended) return appended;
            }
            out += '}';
            return {};
        }
        case nlohmann::json::value_t::number_float:
            return Error{u"a number with a fraction has no canonical JSON form"};
        default: return Error{u"a binary JSON value has no canonical form"};
    }
}

}  // namespace

Result<std::string> CanonicalJson(const nlohmann::json& value) {
    std::string out;
    if (auto appended = Append(out, value, 0); !appended) return appended.TakeError();
    return out;
}

}  // namespace OvxUpdate
