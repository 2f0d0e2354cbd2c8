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

RepositoryBuilder::RepositoryBuilder(std::int64_t now, std::int64_t lifetimeSeconds, bool consistentSnapshot)
    : m_consistent(consistentSnapshot) {
    for (const char* name : kTopLevel)
        m_roles[name] = Role{{SigningKey::Generate()}, 0, now + lifetimeSeconds};
    (void)PublishRoot({});
}

json RepositoryBuilder::Header(const std::string& type, const Role& role) const {
    return {{"_type", type},
            {"spec_version", "1.0.31"},
            {"version", role.version},
            {"expires", ExpiryText(role.expires)}};
}

Result<std::string> RepositoryBuilder::PublishRoot(const std::vector<SigningKey>& extraSigners) {
    Role& root = m_roles["root"];
    ++root.version;
    json signedPart = Header("root", root);
    signedPart["consistent_snapshot"] = m_consistent;
    signedPart["keys"] = json::object();
    signedPart["roles"] = json::object();
    for (const char* name : kTopLevel) {
        json ids = json::array();
        for (const auto& key : m_roles[name].keys) {
            signedPart["keys"][key.Id()] = KeyJson(key.Public());
            ids.push_back(key.Id());
        }
        signedPart["roles"][name] = {{"keyids", ids}, {"threshold", 1}};
    }
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
    json target = {{"length", bytes.size()}, {"hashes", {{"sha256", hash}}}};
    if (!custom.is_null()) target["custom"] = std::move(custom);
    m_targets[path] = std::move(target);
    auto slash = path.rfind('/');
    std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    m_targetFiles[m_consistent ? folder + hash + "." + name : path] = std::string(bytes);
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
    json targetsPart = Header("targets", targets);
    targetsPart["targets"] = m_targets;
    auto targetsBytes = SignDocument(targetsPart, targets.keys);
    if (!targetsBytes) return targetsBytes.TakeError();
    m_metadataFiles[(m_consistent ? std::to_string(targets.version) + "." : "") + "targets.json"] =
        *targetsBytes;

    Role& snapshot = m_roles["snapshot"];
    ++snapshot.version;
    json snapshotPart = Header("snapshot", snapshot);
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
    json part = Header("timestamp", timestamp);
    part["meta"] = {{"snapshot.json",
                     {{"version", m_roles["snapshot"].version},
                      {"length", snapshotBytes.size()},
                      {"hashes", {{"sha256", Sha256Hex(snapshotBytes)}}}}}};
    auto bytes = SignDocument(part, timestamp.keys);
    if (!bytes) return bytes.TakeError();
    m_metadataFiles["timestamp.json"] = *bytes;
    return {};
}

}  // namespace OvxUpdate
