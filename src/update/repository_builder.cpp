#include "update/digest.h"
#include "update/repository_builder.h"

#include "update/canonical_json.h"
#include "update/hash_check.h"

#include <sodium.h>

#include <ctime>

namespace OvxUpdate {

using json = nlohmann::json;

namespace {

constexpr const char* kTopLevel[] = {"root", "timestamp", "snapshot", "targets"};

std::string HexOf(const unsigned char* bytes, std::size_t size) {
    std::string hex(size * 2 + 1, '\0');
    sodium_bin2hex(hex.data(), hex.size(), bytes, size);
    hex.pop_back();
    return hex;
}

}  // namespace

SigningKey SigningKey::Generate() {
    SigningKey key;
    std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
    crypto_sign_keypair(publicKey.data(), key.m_secret.data());
    key.m_public = PublicKey{"ed25519", "ed25519", HexOf(publicKey.data(), publicKey.size())};
    key.m_id = KeyIdOf(key.m_public);
    return key;
}

SigningKey SigningKey::FromSecret(const std::array<unsigned char, 64>& secret) {
    SigningKey key;
    key.m_secret = secret;
    key.m_public = PublicKey{"ed25519", "ed25519", HexOf(secret.data() + 32, 32)};
    key.m_id = KeyIdOf(key.m_public);
    return key;
}

SigningKey::~SigningKey() { sodium_memzero(m_secret.data(), m_secret.size()); }

std::string SigningKey::SignHex(std::string_view message) const {
    std::array<unsigned char, crypto_sign_BYTES> signature{};
    crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const unsigned char*>(message.data()),
                         message.size(), m_secret.data());
    return HexOf(signature.data(), signature.size());
}

json KeyJson(const PublicKey& key) {
    return {{"keytype", key.keyType}, {"scheme", key.scheme}, {"keyval", {{"public", key.value}}}};
}

std::string KeyIdOf(const PublicKey& key) { return Sha256Hex(CanonicalJson(KeyJson(key)).Value()); }

Result<std::string> SignDocument(const json& signedPart, const std::vector<SigningKey>& keys) {
    auto canonical = CanonicalJson(signedPart);
    if (!canonical) return canonical.TakeError();
    json signatures = json::array();
    for (const auto& key : keys)
        signatures.push_back({{"keyid", key.Id()}, {"sig", key.SignHex(*canonical)}});
    return json{{"signatures", signatures}, {"signed", signedPart}}.dump(1);
}

std::string ExpiryText(std::int64_t secondsSince1970) {
    std::time_t time = static_cast<std::time_t>(secondsSince1970);
    std::tm utc{};
#ifdef _WIN32
    gmtime_s(&utc, &time);
#else
    gmtime_r(&time, &utc);
#endif
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
    return text;
}

json HeaderJson(const std::string& type, std::uint64_t version, std::int64_t expires) {
    return {
        {"_type", type}, {"spec_version", "1.0.31"}, {"version", version}, {"expires", ExpiryText(expires)}};
}

json RootJson(bool consistentSnapshot, const std::map<std::string, RoleKeyList>& roles) {
    json body = {
        {"consistent_snapshot", consistentSnapshot}, {"keys", json::object()}, {"roles", json::object()}};
    for (const auto& [name, role] : roles) {
        json ids = json::array();
        for (const auto& key : role.keys) {
            std::string id = KeyIdOf(key);
            body["keys"][id] = KeyJson(key);
            ids.push_back(id);
        }
        body["roles"][name] = {{"keyids", ids}, {"threshold", role.threshold}};
    }
    return body;
}

json MetaFileJson(std::uint64_t version, std::string_view bytes) {
    return {{"version", version}, {"length", bytes.size()}, {"hashes", {{"sha256", Sha256Hex(bytes)}}}};
}

json TargetJson(std::uint64_t length, const std::string& sha256, const json& custom) {
    json target = {{"length", length}, {"hashes", {{"sha256", sha256}}}};
    if (!custom.is_null()) target["custom"] = custom;
    return target;
}

std::string ServedTargetName(const std::string& path, const std::string& sha256, bool consistentSnapshot) {
    if (!consistentSnapshot) return path;
    auto slash = path.rfind('/');
    return slash == std::string::npos ? sha256 + "." + path
                                      : path.substr(0, slash + 1) + sha256 + "." + path.substr(slash + 1);
}

RepositoryBuilder::RepositoryBuilder(std::int64_t now, std::int64_t lifetimeSeconds, bool consistentSnapshot)
    : m_consistent(consistentSnapshot) {
    for (const char* name : kTopLevel)
        m_roles[name] = Role{{SigningKey::Generate()}, 0, now + lifetimeSeconds};
    (void)PublishRoot({});
}

Result<std::string> RepositoryBuilder::PublishRoot(const std::vector<SigningKey>& extraSigners) {
    Role& root = m_roles["root"];
    ++root.version;
    std::map<std::string, RoleKeyList> roles;
    for (const char* name : kTopLevel) {
        for (const auto& key : m_roles[name].keys) roles[name].keys.push_back(key.Public());
    }
    json signedPart = HeaderJson("root", root.version, root.expires);
    signedPart.update(RootJson(m_consistent, roles));
    std::vector<SigningKey> signers = root.keys;
    signers.insert(signers.end(), extraSigners.begin(), extraSigners.end());
    auto bytes = SignDocument(signedPart, signers);
    if (!bytes) return bytes;
    m_metadataFiles[std::to_string(root.version) + ".root.json"] = *bytes;
    m_rootChanged = false;
    return bytes;
}

void RepositoryBuilder::AddTarget(const std::string& path, std::string_view bytes, json custom) {
    std::string hash = Sha256Hex(bytes);
    m_targets[path] = TargetJson(bytes.size(), hash, custom);
    m_targetFiles[ServedTargetName(path, hash, m_consistent)] = std::string(bytes);
}

void RepositoryBuilder::RemoveTarget(const std::string& path) { m_targets.erase(path); }

void RepositoryBuilder::SetExpiry(const std::string& role, std::int64_t expires) {
    m_roles.at(role).expires = expires;
    if (role == "root") m_rootChanged = true;
}

void RepositoryBuilder::RotateKey(const std::string& role) {
    Role& rotated = m_roles.at(role);
    if (role == "root") m_retiredRootKeys = rotated.keys;
    rotated.keys = {SigningKey::Generate()};
    m_rootChanged = true;
}

Result<void> RepositoryBuilder::Publish() {
    if (m_rootChanged) {
        auto root = PublishRoot(m_retiredRootKeys);
        m_retiredRootKeys.clear();
        if (!root) return root.TakeError();
    }
    Role& targets = m_roles["targets"];
    ++targets.version;
    json targetsPart = HeaderJson("targets", targets.version, targets.expires);
    targetsPart["targets"] = m_targets;
    auto targetsBytes = SignDocument(targetsPart, targets.keys);
    if (!targetsBytes) return targetsBytes.TakeError();
    m_metadataFiles[(m_consistent ? std::to_string(targets.version) + "." : "") + "targets.json"] =
        *targetsBytes;

    Role& snapshot = m_roles["snapshot"];
    ++snapshot.version;
    json snapshotPart = HeaderJson("snapshot", snapshot.version, snapshot.expires);
    snapshotPart["meta"] = {{"targets.json", {{"version", targets.version}}}};
    auto snapshotBytes = SignDocument(snapshotPart, snapshot.keys);
    if (!snapshotBytes) return snapshotBytes.TakeError();
    m_metadataFiles[(m_consistent ? std::to_string(snapshot.version) + "." : "") + "snapshot.json"] =
        *snapshotBytes;
    m_lastSnapshot = *snapshotBytes;
    return PublishTimestampFor(m_lastSnapshot);
}

Result<void> RepositoryBuilder::PublishTimestamp() { return PublishTimestampFor(m_lastSnapshot); }

Result<void> RepositoryBuilder::PublishTimestampFor(const std::string& snapshotBytes) {
    Role& timestamp = m_roles["timestamp"];
    ++timestamp.version;
    json part = HeaderJson("timestamp", timestamp.version, timestamp.expires);
    part["meta"] = {{"snapshot.json", MetaFileJson(m_roles["snapshot"].version, snapshotBytes)}};
    auto bytes = SignDocument(part, timestamp.keys);
    if (!bytes) return bytes.TakeError();
    m_metadataFiles["timestamp.json"] = *bytes;
    return {};
}

}  // namespace OvxUpdate
