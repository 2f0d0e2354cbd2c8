#include "update/metadata.h"

#include "update/canonical_json.h"
#include "update/digest.h"
#include "update/update_error.h"

#include <sodium.h>

#include <array>
#include <charconv>

namespace OvxUpdate {

using json = nlohmann::json;
using OvxUtils::Error;

namespace {

// The major version of the metadata format this client reads.
constexpr std::string_view kSpecMajor = "1";

Result<const json*> Member(const json& object, const char* name, json::value_t kind, const char* kindName,
                           std::string_view where) {
    auto found = object.find(name);
    if (found == object.end()) return Refused(std::string(where) + " has no \"" + name + "\"");
    bool matches = found->type() == kind ||
                   (kind == json::value_t::number_unsigned &&
                    found->type() == json::value_t::number_integer && found->get<std::int64_t>() >= 0);
    if (!matches) return Refused(std::string(where) + ": \"" + name + "\" is not " + kindName);
    return &*found;
}

Result<std::string> StringMember(const json& object, const char* name, std::string_view where) {
    auto member = Member(object, name, json::value_t::string, "a string", where);
    if (!member) return member.TakeError();
    return (*member)->get<std::string>();
}

Result<std::uint64_t> CountMember(const json& object, const char* name, std::string_view where) {
    auto member = Member(object, name, json::value_t::number_unsigned, "a whole number", where);
    if (!member) return member.TakeError();
    return (*member)->get<std::uint64_t>();
}

Result<const json*> ObjectMember(const json& object, const char* name, std::string_view where) {
    return Member(object, name, json::value_t::object, "an object", where);
}

Result<const json*> ArrayMember(const json& object, const char* name, std::string_view where) {
    return Member(object, name, json::value_t::array, "an array", where);
}

Result<std::vector<std::string>> StringArray(const json& array, std::string_view where) {
    std::vector<std::string> strings;
    for (const auto& item : array) {
        if (!item.is_string()) return Refused(std::string(where) + " holds something other than a string");
        strings.push_back(item.get<std::string>());
    }
    return strings;
}

Result<RoleHeader> ReadHeader(const json& signedPart, std::string_view expectedType) {
    if (!signedPart.is_object()) return Refused("the signed part is not an object");
    auto type = StringMember(signedPart, "_type", "the signed part");
    if (!type) return type.TakeError();
    if (*type != expectedType)
        return Refused("the metadata is of type " + Named(*type) + ", not \"" + std::string(expectedType) +
                       "\"");
    auto where = "the " + std::string(expectedType) + " metadata";
    auto specVersion = StringMember(signedPart, "spec_version", where);
    if (!specVersion) return specVersion.TakeError();
    auto dot = specVersion->find('.');
    if (dot == std::string::npos || std::string_view(*specVersion).substr(0, dot) != kSpecMajor)
        return Refused(where + " is of format version " + Named(*specVersion) + ", not 1.x");
    auto version = CountMember(signedPart, "version", where);
    if (!version) return version.TakeError();
    if (*version == 0) return Refused(where + " has version 0; versions start at 1");
    auto expiresText = StringMember(signedPart, "expires", where);
    if (!expiresText) return expiresText.TakeError();
    auto expires = ParseExpiry(*expiresText);
    if (!expires)
        return Refused(where + " expires at " + Named(*expiresText) +
                       ", not a time like 2030-01-01T00:00:00Z");
    RoleHeader header;
    header.type = *type;
    header.version = *version;
    header.expires = *expires;
    return header;
}

Result<MetaFile> ReadMetaFile(const json& object, std::string_view where) {
    if (!object.is_object()) return Refused(std::string(where) + " is not an object");
    MetaFile file;
    auto version = CountMember(object, "version", where);
    if (!version) return version.TakeError();
    file.version = *version;
    if (object.contains("length")) {
        auto length = CountMember(object, "length", where);
        if (!length) return length.TakeError();
        file.length = *length;
    }
    if (object.contains("hashes")) {
        auto hashes = ObjectMember(object, "hashes", where);
        if (!hashes) return hashes.TakeError();
        if ((*hashes)->empty()) return Refused(std::string(where) + " lists no hashes in \"hashes\"");
        for (const auto& [algorithm, digest] : (*hashes)->items()) {
            if (!digest.is_string()) return Refused(std::string(where) + ": a hash is not a string");
            file.hashes.emplace(algorithm, digest.get<std::string>());
        }
    }
    return file;
}

Result<KeyMap> ReadKeys(const json& keys, std::string_view where) {
    KeyMap map;
    for (const auto& [keyId, key] : keys.items()) {
        auto keyWhere = std::string(where) + ": key " + Named(keyId);
        if (!key.is_object()) return Refused(keyWhere + " is not an object");
        auto keyType = StringMember(key, "keytype", keyWhere);
        if (!keyType) return keyType.TakeError();
        auto scheme = StringMember(key, "scheme", keyWhere);
        if (!scheme) return scheme.TakeError();
        auto keyValue = ObjectMember(key, "keyval", keyWhere);
        if (!keyValue) return keyValue.TakeError();
        auto value = StringMember(**keyValue, "public", keyWhere);
        if (!value) return value.TakeError();
        map.emplace(keyId, PublicKey{*keyType, *scheme, *value});
    }
    return map;
}

Result<RoleKeys> ReadRoleKeys(const json& role, std::string_view where) {
    RoleKeys keys;
    auto keyIds = ArrayMember(role, "keyids", where);
    if (!keyIds) return keyIds.TakeError();
    auto ids = StringArray(**keyIds, where);
    if (!ids) return ids.TakeError();
    keys.keyIds = std::move(*ids);
    auto threshold = CountMember(role, "threshold", where);
    if (!threshold) return threshold.TakeError();
    if (*threshold == 0) return Refused(std::string(where) + " has a threshold of 0");
    keys.threshold = *threshold;
    return keys;
}

bool IsTopLevelName(std::string_view name) {
    return name == "root" || name == "timestamp" || name == "snapshot" || name == "targets";
}

Result<Delegations> ReadDelegations(const json& object) {
    constexpr std::string_view where = "the delegations";
    Delegations delegations;
    auto keys = ObjectMember(object, "keys", where);
    if (!keys) return keys.TakeError();
    auto keyMap = ReadKeys(**keys, where);
    if (!keyMap) return keyMap.TakeError();
    delegations.keys = std::move(*keyMap);
    bool hasRoles = object.contains("roles");
    bool hasSuccinct = object.contains("succinct_roles");
    if (hasRoles == hasSuccinct)
        return Refused("the delegations must have either \"roles\" or \"succinct_roles\"");
    if (hasSuccinct) {
        auto succinct = ObjectMember(object, "succinct_roles", where);
        if (!succinct) return succinct.TakeError();
        SuccinctRoles roles;
        auto keysOfRoles = ReadRoleKeys(**succinct, "the succinct roles");
        if (!keysOfRoles) return keysOfRoles.TakeError();
        roles.keys = std::move(*keysOfRoles);
        auto bits = CountMember(**succinct, "bit_length", "the succinct roles");
        if (!bits) return bits.TakeError();
        if (*bits < 1 || *bits > 32) return Refused("the succinct roles' bit_length is not between 1 and 32");
        roles.bitLength = static_cast<unsigned>(*bits);
        auto prefix = StringMember(**succinct, "name_prefix", "the succinct roles");
        if (!prefix) return prefix.TakeError();
        roles.namePrefix = *prefix;
        delegations.succinct = std::move(roles);
        return delegations;
    }
    auto roles = ArrayMember(object, "roles", where);
    if (!roles) return roles.TakeError();
    std::map<std::string, bool> seen;
    for (const auto& role : **roles) {
        if (!role.is_object()) return Refused("a delegated role is not an object");
        DelegatedRole delegated;
        auto name = StringMember(role, "name", "a delegated role");
        if (!name) return name.TakeError();
        delegated.name = *name;
        auto roleWhere = "delegated role " + Named(delegated.name);
        if (IsTopLevelName(delegated.name)) return Refused(roleWhere + " has the name of a top-level role");
        if (!seen.emplace(delegated.name, true).second) return Refused(roleWhere + " is delegated twice");
        auto keysOfRole = ReadRoleKeys(role, roleWhere);
        if (!keysOfRole) return keysOfRole.TakeError();
        delegated.keys = std::move(*keysOfRole);
        auto terminating = role.find("terminating");
        if (terminating == role.end() || !terminating->is_boolean())
            return Refused(roleWhere + ": \"terminating\" is missing or not true or false");
        delegated.terminating = terminating->get<bool>();
        bool hasPaths = role.contains("paths");
        bool hasPrefixes = role.contains("path_hash_prefixes");
        if (hasPaths && hasPrefixes)
            return Refused(roleWhere + " has both \"paths\" and \"path_hash_prefixes\"");
        if (hasPaths || hasPrefixes) {
            auto list = ArrayMember(role, hasPaths ? "paths" : "path_hash_prefixes", roleWhere);
            if (!list) return list.TakeError();
            auto strings = StringArray(**list, roleWhere);
            if (!strings) return strings.TakeError();
            (hasPaths ? delegated.paths : delegated.pathHashPrefixes) = std::move(*strings);
        }
        delegations.roles.push_back(std::move(delegated));
    }
    return delegations;
}

// fnmatch's rules for one path part, case-sensitive: '*' any run, '?' one character,
// "[...]" a set ("[!...]" its complement).
bool MatchesPart(std::string_view text, std::string_view pattern) {
    std::size_t t = 0, p = 0, starP = std::string_view::npos, starT = 0;
    auto matchSet = [&](std::size_t& at, char c) -> std::optional<bool> {
        std::size_t i = at + 1;
        bool negate = i < pattern.size() && pattern[i] == '!';
        if (negate) ++i;
        bool found = false;
        std::size_t first = i;
        while (i < pattern.size() && (pattern[i] != ']' || i == first)) {
            if (i + 2 < pattern.size() && pattern[i + 1] == '-' && pattern[i + 2] != ']') {
                found = found || (pattern[i] <= c && c <= pattern[i + 2]);
                i += 3;
            } else {
                found = found || pattern[i] == c;
                ++i;
            }
        }
        if (i >= pattern.size()) return std::nullopt;  // no closing bracket: a literal '['
        at = i + 1;
        return found != negate;
    };
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starP = p++;
            starT = t;
            continue;
        }
        if (p < pattern.size()) {
            if (pattern[p] == '?') {
                ++p, ++t;
                continue;
            }
            if (pattern[p] == '[') {
                std::size_t at = p;
                auto inSet = matchSet(at, text[t]);
                if (inSet && *inSet) {
                    p = at, ++t;
                    continue;
                }
                if (!inSet && text[t] == '[') {
                    ++p, ++t;
                    continue;
                }
            } else if (pattern[p] == text[t]) {
                ++p, ++t;
                continue;
            }
        }
        if (starP == std::string_view::npos) return false;
        p = starP + 1;
        t = ++starT;
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

bool MatchesPattern(std::string_view path, std::string_view pattern) {
    while (true) {
        auto pathSlash = path.find('/');
        auto patternSlash = pattern.find('/');
        if ((pathSlash == std::string_view::npos) != (patternSlash == std::string_view::npos)) return false;
        if (!MatchesPart(path.substr(0, pathSlash), pattern.substr(0, patternSlash))) return false;
        if (pathSlash == std::string_view::npos) return true;
        path.remove_prefix(pathSlash + 1);
        pattern.remove_prefix(patternSlash + 1);
    }
}

}  // namespace

std::optional<std::int64_t> ParseExpiry(std::string_view text) {
    // YYYY-MM-DDTHH:MM:SSZ
    if (text.size() != 20 || text[4] != '-' || text[7] != '-' || text[10] != 'T' || text[13] != ':' ||
        text[16] != ':' || text[19] != 'Z')
        return std::nullopt;
    auto number = [&](std::size_t at, std::size_t length) -> std::optional<int> {
        int value = 0;
        auto [end, error] = std::from_chars(text.data() + at, text.data() + at + length, value);
        if (error != std::errc() || end != text.data() + at + length) return std::nullopt;
        return value;
    };
    auto year = number(0, 4), month = number(5, 2), day = number(8, 2);
    auto hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
    if (!year || !month || !day || !hour || !minute || !second) return std::nullopt;
    if (*month < 1 || *month > 12 || *day < 1 || *day > 31 || *hour > 23 || *minute > 59 || *second > 60)
        return std::nullopt;
    // Days from the civil date (Howard Hinnant's algorithm).
    int y = *year - (*month <= 2 ? 1 : 0);
    int era = (y >= 0 ? y : y - 399) / 400;
    int yearOfEra = y - era * 400;
    int dayOfYear = (153 * (*month + (*month > 2 ? -3 : 9)) + 2) / 5 + *day - 1;
    int dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    std::int64_t days = static_cast<std::int64_t>(era) * 146097 + dayOfEra - 719468;
    return days * 86400 + *hour * 3600 + *minute * 60 + *second;
}

Result<SignedDocument> ReadSignedDocument(std::string_view bytes) {
    json document = json::parse(bytes, nullptr, false);
    if (document.is_discarded()) return Refused("the metadata is not JSON");
    if (!document.is_object()) return Refused("the metadata is not a JSON object");
    auto signatures = ArrayMember(document, "signatures", "the metadata");
    if (!signatures) return signatures.TakeError();
    auto signedPart = ObjectMember(document, "signed", "the metadata");
    if (!signedPart) return signedPart.TakeError();
    SignedDocument result;
    std::map<std::string, bool> seen;
    for (const auto& signature : **signatures) {
        if (!signature.is_object()) return Refused("a signature is not an object");
        auto keyId = StringMember(signature, "keyid", "a signature");
        if (!keyId) return keyId.TakeError();
        auto hex = StringMember(signature, "sig", "a signature");
        if (!hex) return hex.TakeError();
        if (!seen.emplace(*keyId, true).second)
            return Refused("key " + Named(*keyId) + " signs the metadata twice");
        result.signatures.push_back({*keyId, *hex});
    }
    auto canonical = CanonicalJson(**signedPart);
    if (!canonical) return canonical.TakeError();
    result.canonical = std::move(*canonical);
    result.signedPart = std::move(document["signed"]);
    return result;
}

Result<Root> ReadRoot(const SignedDocument& document) {
    const json& part = document.signedPart;
    auto header = ReadHeader(part, "root");
    if (!header) return header.TakeError();
    Root root;
    static_cast<RoleHeader&>(root) = std::move(*header);
    auto consistent = part.find("consistent_snapshot");
    if (consistent == part.end() || !consistent->is_boolean())
        return Refused("the root metadata: \"consistent_snapshot\" is missing or not true or false");
    root.consistentSnapshot = consistent->get<bool>();
    auto keys = ObjectMember(part, "keys", "the root metadata");
    if (!keys) return keys.TakeError();
    auto keyMap = ReadKeys(**keys, "the root metadata");
    if (!keyMap) return keyMap.TakeError();
    root.keys = std::move(*keyMap);
    auto roles = ObjectMember(part, "roles", "the root metadata");
    if (!roles) return roles.TakeError();
    for (const char* name : {"root", "timestamp", "snapshot", "targets"}) {
        auto role = ObjectMember(**roles, name, "the root metadata's roles");
        if (!role) return role.TakeError();
        auto keysOfRole = ReadRoleKeys(**role, std::string("the root metadata's role \"") + name + "\"");
        if (!keysOfRole) return keysOfRole.TakeError();
        root.roles.emplace(name, std::move(*keysOfRole));
    }
    return root;
}

Result<Timestamp> ReadTimestamp(const SignedDocument& document) {
    const json& part = document.signedPart;
    auto header = ReadHeader(part, "timestamp");
    if (!header) return header.TakeError();
    Timestamp timestamp;
    static_cast<RoleHeader&>(timestamp) = std::move(*header);
    auto meta = ObjectMember(part, "meta", "the timestamp metadata");
    if (!meta) return meta.TakeError();
    if ((*meta)->size() != 1 || !(*meta)->contains("snapshot.json"))
        return Refused("the timestamp metadata must list \"snapshot.json\" and nothing else");
    auto snapshot = ReadMetaFile((**meta)["snapshot.json"], "the timestamp's \"snapshot.json\"");
    if (!snapshot) return snapshot.TakeError();
    timestamp.snapshot = std::move(*snapshot);
    return timestamp;
}

Result<Snapshot> ReadSnapshot(const SignedDocument& document) {
    const json& part = document.signedPart;
    auto header = ReadHeader(part, "snapshot");
    if (!header) return header.TakeError();
    Snapshot snapshot;
    static_cast<RoleHeader&>(snapshot) = std::move(*header);
    auto meta = ObjectMember(part, "meta", "the snapshot metadata");
    if (!meta) return meta.TakeError();
    for (const auto& [name, file] : (*meta)->items()) {
        auto metaFile = ReadMetaFile(file, "the snapshot's " + Named(name));
        if (!metaFile) return metaFile.TakeError();
        snapshot.meta.emplace(name, std::move(*metaFile));
    }
    return snapshot;
}

Result<Targets> ReadTargets(const SignedDocument& document) {
    const json& part = document.signedPart;
    auto header = ReadHeader(part, "targets");
    if (!header) return header.TakeError();
    Targets targets;
    static_cast<RoleHeader&>(targets) = std::move(*header);
    auto files = ObjectMember(part, "targets", "the targets metadata");
    if (!files) return files.TakeError();
    for (const auto& [path, file] : (*files)->items()) {
        auto where = "target " + Named(path);
        if (!file.is_object()) return Refused(where + " is not an object");
        TargetFile target;
        target.path = path;
        auto length = CountMember(file, "length", where);
        if (!length) return length.TakeError();
        target.length = *length;
        auto hashes = ObjectMember(file, "hashes", where);
        if (!hashes) return hashes.TakeError();
        if ((*hashes)->empty()) return Refused(where + " lists no hashes");
        for (const auto& [algorithm, digest] : (*hashes)->items()) {
            if (!digest.is_string()) return Refused(where + ": a hash is not a string");
            target.hashes.emplace(algorithm, digest.get<std::string>());
        }
        if (auto custom = file.find("custom"); custom != file.end()) target.custom = *custom;
        targets.targets.emplace(path, std::move(target));
    }
    if (auto delegations = part.find("delegations"); delegations != part.end()) {
        if (!delegations->is_object())
            return Refused("the targets metadata's \"delegations\" is not an object");
        auto read = ReadDelegations(*delegations);
        if (!read) return read.TakeError();
        targets.delegations = std::move(*read);
    }
    return targets;
}

std::string SuccinctRoles::RoleFor(std::string_view targetPath) const {
    std::array<unsigned char, crypto_hash_sha256_BYTES> digest{};
    crypto_hash_sha256(digest.data(), reinterpret_cast<const unsigned char*>(targetPath.data()),
                       targetPath.size());
    std::uint32_t first = (std::uint32_t{digest[0]} << 24) | (std::uint32_t{digest[1]} << 16) |
                          (std::uint32_t{digest[2]} << 8) | std::uint32_t{digest[3]};
    return NameOf(first >> (32 - bitLength));
}

std::string SuccinctRoles::NameOf(std::uint64_t bin) const {
    // The suffix has as many hex digits as the highest bin needs.
    std::size_t width = 0;
    for (std::uint64_t rest = (std::uint64_t{1} << bitLength) - 1; rest; rest >>= 4) ++width;
    std::string digits(width, '0');
    for (std::size_t i = width; i-- > 0; bin >>= 4) digits[i] = "0123456789abcdef"[bin & 0xF];
    return namePrefix + "-" + digits;
}

bool SuccinctRoles::IsOneOf(std::string_view roleName) const {
    if (roleName.size() <= namePrefix.size() + 1 || roleName.substr(0, namePrefix.size()) != namePrefix)
        return false;
    std::uint64_t bin = 0;
    auto digits = roleName.substr(namePrefix.size() + 1);
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), bin, 16);
    if (error != std::errc() || end != digits.data() + digits.size() || bin >> bitLength) return false;
    return NameOf(bin) == roleName;
}

bool Covers(const DelegatedRole& role, std::string_view targetPath) {
    for (const auto& pattern : role.paths)
        if (MatchesPattern(targetPath, pattern)) return true;
    if (role.pathHashPrefixes.empty()) return false;
    auto hash = Sha256Hex(targetPath);
    for (const auto& prefix : role.pathHashPrefixes)
        if (std::string_view(hash).substr(0, prefix.size()) == prefix) return true;
    return false;
}

}  // namespace OvxUpdate
