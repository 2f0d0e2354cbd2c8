// RepositoryStore: a publisher's TUF repository on disk, as `ovxext repo` keeps it.
//
//   DIR/repository.json   the publisher's state: roles (key IDs, public keys, thresholds,
//                         versions, lifetimes), the author keys packages must be signed
//                         by, and the targets with their lengths, hashes and fields
//   DIR/keys/ROLE-N.key   each role's secret keys, minisign's secret key files (encrypted
//                         with a password unless made without); move the root and targets
//                         keys offline and name their folder with --keys
//   DIR/packages/NAME     the repository's own copy of each added package
//   DIR/public/           what a web server serves: metadata/ and targets/
//
// Every file is written under a temporary name and renamed into place; a publish writes
// the targets first, then the targets and snapshot metadata, and the timestamp last, so
// that a server never shows a half-published repository.
#pragma once

#include "extensions/trust/minisign.h"
#include "update/repository_builder.h"

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/result.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Ovxext {

using OvxUtils::Result;

// Where secret keys are found and how their password is had.
struct KeyAccess {
    CString folder;                                                          // the keys folder
    std::function<Result<OvxComponent::Minisign::SecretString>()> password;  // asked at most once
};

struct RepositoryOptions {
    bool consistentSnapshot = true;
    std::vector<std::string> authorKeys;  // minisign public key files' text
    std::map<std::string, std::int64_t> lifetimeDays{
        {"root", 365}, {"targets", 90}, {"snapshot", 7}, {"timestamp", 1}};
    bool encryptKeys = true;
};

struct AddedTarget {
    std::string path;
    std::uint64_t length = 0;
    std::string sha256;
    nlohmann::json custom;
};

class RepositoryStore {
public:
    // A new repository in folder (empty or missing): one key for each role, root version 1
    // and empty targets, snapshot and timestamp published.
    static Result<RepositoryStore> Create(const CString& folder, const RepositoryOptions& options,
                                          const KeyAccess& keys);
    static Result<RepositoryStore> Open(const CString& folder);

    // The package as a target (its file name as the path, its fields from its metadata),
    // refused when its author signature does not hold under the repository's author keys.
    Result<AddedTarget> Add(const CString& package);
    Result<void> Remove(const std::string& targetPath);
    // New targets, snapshot and timestamp versions.
    Result<void> Publish(const KeyAccess& keys);
    // A new timestamp version for the published snapshot; expiresInSeconds, when given,
    // instead of the timestamp's lifetime.
    Result<void> RefreshTimestamp(const KeyAccess& keys, std::optional<std::int64_t> expiresInSeconds = {});
    // New keys for role (threshold of them), a new root version signed by the old root
    // keys and the new, and the role's metadata published again under them.
    Result<void> Rotate(const std::string& role, std::uint64_t threshold, const KeyAccess& keys);

    const nlohmann::json& State() const { return m_state; }
    std::uint64_t VersionOf(const std::string& role) const;

private:
    explicit RepositoryStore(CString folder) : m_folder(std::move(folder)) {}
    Result<void> Save() const;
    Result<std::vector<OvxUpdate::SigningKey>> KeysOf(const std::string& role, const KeyAccess& keys) const;
    Result<std::vector<OvxUpdate::SigningKey>> NewKeys(const std::string& role, std::uint64_t count,
                                                       const KeyAccess& keys);
    Result<void> PublishRoot(const std::vector<OvxUpdate::SigningKey>& signers);
    Result<void> PublishRole(const std::string& role, const nlohmann::json& body, const KeyAccess& keys,
                             std::optional<std::int64_t> expiresInSeconds = {});
    Result<void> WritePublic(const std::string& relative, std::string_view bytes) const;
    nlohmann::json Header(const std::string& role, std::optional<std::int64_t> expiresInSeconds) const;

    CString m_folder;
    nlohmann::json m_state;
};

}  // namespace Ovxext
