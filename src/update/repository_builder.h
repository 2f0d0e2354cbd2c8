// RepositoryBuilder: a repository of The Update Framework kept in memory and published as
// the files a web server serves: version-prefixed metadata and hash-prefixed targets when
// snapshots are consistent, the timestamp last. Each top-level role has its own Ed25519
// keys; secret keys are wiped from memory when the builder goes.
#pragma once

#include "OvxComponent/platform/result.h"
#include "update/metadata.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace OvxUpdate {

// An Ed25519 key that signs metadata.
class SigningKey {
public:
    static SigningKey Generate();
    // The key of a secret key as libsodium keeps it: seed, then public key.
    static SigningKey FromSecret(const std::array<unsigned char, 64>& secret);
    ~SigningKey();
    SigningKey(const SigningKey& other) = default;
    SigningKey& operator=(const SigningKey& other) = default;

    const PublicKey& Public() const { return m_public; }
    const std::string& Id() const { return m_id; }
    // The key's signature over message, in hex.
    std::string SignHex(std::string_view message) const;

private:
    SigningKey() = default;
    std::array<unsigned char, 64> m_secret{};
    PublicKey m_public;
    std::string m_id;
};

// A key's ID: the SHA-256 of its canonical JSON, in hex.
std::string KeyIdOf(const PublicKey& key);
nlohmann::json KeyJson(const PublicKey& key);
// A metadata document: the signed part and a signature by each key.
Result<std::string> SignDocument(const nlohmann::json& signedPart, const std::vector<SigningKey>& keys);
// "2030-01-01T00:00:00Z" for seconds since 1970.
std::string ExpiryText(std::int64_t secondsSince1970);

// The signed parts a publisher writes, shared by the builder below and ovxext repo.
// What every role's signed part begins with.
nlohmann::json HeaderJson(const std::string& type, std::uint64_t version, std::int64_t expires);
// The keys of each top-level role, by role name, and how many must sign.
struct RoleKeyList {
    std::vector<PublicKey> keys;
    std::uint64_t threshold = 1;
};
// The root's body beside its header: the keys and roles, consistent snapshots or not.
nlohmann::json RootJson(bool consistentSnapshot, const std::map<std::string, RoleKeyList>& roles);
// A document as the role above lists it: version, length and SHA-256.
nlohmann::json MetaFileJson(std::uint64_t version, std::string_view bytes);
// A target as the targets role lists it.
nlohmann::json TargetJson(std::uint64_t length, const std::string& sha256, const nlohmann::json& custom);
// The name a target is served under below the targets URL: hash-prefixed when snapshots
// are consistent.
std::string ServedTargetName(const std::string& path, const std::string& sha256, bool consistentSnapshot);

class RepositoryBuilder {
public:
    // One key for each top-level role, every role expiring lifetimeSeconds after now;
    // root version 1 is published at once.
    RepositoryBuilder(std::int64_t now, std::int64_t lifetimeSeconds, bool consistentSnapshot = true);

    void AddTarget(const std::string& path, std::string_view bytes, nlohmann::json custom = nullptr);
    void RemoveTarget(const std::string& path);
    void SetExpiry(const std::string& role, std::int64_t expires);
    // Replaces a top-level role's keys by a new one (for the root: the new root version
    // is signed by the old keys and the new).
    void RotateKey(const std::string& role);

    // New targets, snapshot and timestamp versions; a new root version first when the
    // root changed. The timestamp is written last.
    Result<void> Publish();
    // Only a new timestamp, for the same snapshot.
    Result<void> PublishTimestamp();

    // The files to serve, by name below the metadata and targets URLs.
    const std::map<std::string, std::string>& MetadataFiles() const { return m_metadataFiles; }
    const std::map<std::string, std::string>& TargetFiles() const { return m_targetFiles; }
    // The root version 1, as a host ships it.
    const std::string& FirstRoot() const { return m_metadataFiles.at("1.root.json"); }

private:
    struct Role {
        std::vector<SigningKey> keys;
        std::uint64_t version = 0;
        std::int64_t expires = 0;
    };
    Result<std::string> PublishRoot(const std::vector<SigningKey>& extraSigners);
    Result<void> PublishTimestampFor(const std::string& snapshotBytes);

    bool m_consistent;
    std::map<std::string, Role> m_roles;
    nlohmann::json m_targets = nlohmann::json::object();
    std::string m_lastSnapshot;
    bool m_rootChanged = false;
    std::vector<SigningKey> m_retiredRootKeys;
    std::map<std::string, std::string> m_metadataFiles;
    std::map<std::string, std::string> m_targetFiles;
};

}  // namespace OvxUpdate
