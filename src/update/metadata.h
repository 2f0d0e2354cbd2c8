// The four kinds of repository metadata, read from the bytes a server sent. Reading checks
// the form only (types, required fields, the expiry's format); whether anyone trusted
// signed it is the trusted metadata's question. Fields this version does not know stay in
// the signed part and so in what the signatures cover.
#pragma once

#include "OvxComponent/platform/result.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace OvxUpdate {

using OvxUtils::Result;

struct PublicKey {
    std::string keyType;
    std::string scheme;
    std::string value;
};
using KeyMap = std::map<std::string, PublicKey>;

// The keys that may sign for a role and how many of them must.
struct RoleKeys {
    std::vector<std::string> keyIds;
    std::uint64_t threshold = 1;
};

struct Signature {
    std::string keyId;
    std::string hex;
};

// A metadata document as sent: its signed part, the canonical bytes the signatures cover
// and the signatures.
struct SignedDocument {
    nlohmann::json signedPart;
    std::string canonical;
    std::vector<Signature> signatures;
};

// What every role has.
struct RoleHeader {
    std::string type;
    std::uint64_t version = 0;
    std::int64_t expires = 0;  // seconds since 1970, UTC

    bool IsExpiredAt(std::int64_t now) const { return now >= expires; }
};

// The length and hashes of a file as another role lists it.
struct MetaFile {
    std::uint64_t version = 0;
    std::optional<std::uint64_t> length;
    std::map<std::string, std::string> hashes;
};

struct Root : RoleHeader {
    bool consistentSnapshot = false;
    KeyMap keys;
    std::map<std::string, RoleKeys> roles;
};

struct Timestamp : RoleHeader {
    MetaFile snapshot;
};

struct Snapshot : RoleHeader {
    std::map<std::string, MetaFile> meta;
};

struct TargetFile {
    std::string path;
    std::uint64_t length = 0;
    std::map<std::string, std::string> hashes;
    nlohmann::json custom;
};

struct DelegatedRole {
    std::string name;
    RoleKeys keys;
    bool terminating = false;
    std::vector<std::string> paths;
    std::vector<std::string> pathHashPrefixes;
};

// Hash-prefixed bins: the role of a target is named by the first bits of its path's hash.
struct SuccinctRoles {
    RoleKeys keys;
    unsigned bitLength = 1;
    std::string namePrefix;

    std::string RoleFor(std::string_view targetPath) const;
    std::string NameOf(std::uint64_t bin) const;
    bool IsOneOf(std::string_view roleName) const;
};

struct Delegations {
    KeyMap keys;
    std::vector<DelegatedRole> roles;
    std::optional<SuccinctRoles> succinct;
};

struct Targets : RoleHeader {
    std::map<std::string, TargetFile> targets;
    std::optional<Delegations> delegations;
};

Result<SignedDocument> ReadSignedDocument(std::string_view bytes);
Result<Root> ReadRoot(const SignedDocument& document);
Result<Timestamp> ReadTimestamp(const SignedDocument& document);
Result<Snapshot> ReadSnapshot(const SignedDocument& document);
Result<Targets> ReadTargets(const SignedDocument& document);

// Whether a delegated role's path patterns or hash prefixes cover targetPath.
bool Covers(const DelegatedRole& role, std::string_view targetPath);

// "2030-01-01T00:00:00Z" as seconds since 1970; only this form is metadata's.
std::optional<std::int64_t> ParseExpiry(std::string_view text);

}  // namespace OvxUpdate
