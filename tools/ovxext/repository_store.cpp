#include "repository_store.h"

#include "command_context.h"
#include "package_reader.h"
#include "signature_report.h"

#include "OvxComponent/extensions/format/runtime_bits.h"
#include "extensions/trust/trust_store.h"
#include "platform/system_io/file.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "update/digest.h"

#include <ctime>

namespace Ovxext {

namespace {

namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;
namespace Path = OvxUtils::SystemIO::Path;
namespace Minisign = OvxComponent::Minisign;
using json = nlohmann::json;
using OvxUpdate::Sha256Hex;
using OvxUtils::Error;

constexpr const char* kStateFile = "repository.json";
constexpr const char* kTopLevel[] = {"root", "targets", "snapshot", "timestamp"};

CString Under(const CString& folder, const std::string& relative) {
    return Path::Combine(folder, FromUtf8(relative));
}

std::int64_t Now() { return static_cast<std::int64_t>(std::time(nullptr)); }

}  // namespace

Result<RepositoryStore> RepositoryStore::Create(const CString& folder, const RepositoryOptions& options,
                                                const KeyAccess& keys) {
    if (File::Exists(Under(folder, kStateFile)))
        return Error{u"a repository exists already in " + OvxUtils::Quoted(folder)};
    for (const char* sub : {"packages", "public/metadata", "public/targets"})
        if (auto made = Folder::EnsureExists(Under(folder, sub)); !made) return made.TakeError();
    if (auto made = Folder::EnsureExists(keys.folder); !made) return made.TakeError();
    RepositoryStore store(folder);
    store.m_state = {{"format", 1},
                     {"consistent_snapshot", options.consistentSnapshot},
                     {"encrypted_keys", options.encryptKeys},
                     {"author_keys", options.authorKeys},
                     {"roles", json::object()},
                     {"targets", json::object()}};
    for (const char* role : kTopLevel) {
        store.m_state["roles"][role] = {{"threshold", 1},
                                        {"version", 0},
                                        {"keys", json::object()},
                                        {"lifetime_days", options.lifetimeDays.at(role)}};
    }
    std::vector<OvxUpdate::SigningKey> rootKeys;
    for (const char* role : kTopLevel) {
        auto made = store.NewKeys(role, 1, keys);
        if (!made) return made.TakeError();
        if (std::string_view(role) == "root") rootKeys = std::move(*made);
    }
    if (auto root = store.PublishRoot(rootKeys); !root) return root.TakeError();
    if (auto published = store.Publish(keys); !published) return published.TakeError();
    return store;
}

Result<RepositoryStore> RepositoryStore::Open(const CString& folder) {
    auto bytes = File::ReadAllBytes(Under(folder, kStateFile));
    if (!bytes)
        return Error{OvxUtils::Quoted(folder) + u" is not a repository of ovxext repo: " + bytes.ErrorText()};
    RepositoryStore store(folder);
    store.m_state = json::parse(*bytes, nullptr, false);
    if (!store.m_state.is_object() || store.m_state.value("format", 0) != 1 ||
        !store.m_state.contains("roles"))
        return Error{Under(folder, kStateFile) + u" is damaged or of another format"};
    return store;
}

Result<void> RepositoryStore::Save() const {
    return File::WriteAtomically(Under(m_folder, kStateFile), m_state.dump(1) + "\n");
}

std::uint64_t RepositoryStore::VersionOf(const std::string& role) const {
    return m_state["roles"][role]["version"].get<std::uint64_t>();
}

Result<std::vector<OvxUpdate::SigningKey>> RepositoryStore::NewKeys(const std::string& role,
                                                                    std::uint64_t count,
                                                                    const KeyAccess& keys) {
    Minisign::SecretString password;
    if (m_state.value("encrypted_keys", true)) {
        auto given = keys.password();
        if (!given) return given.TakeError();
        password = std::move(*given);
    }
    json roleKeys = json::object();
    std::vector<OvxUpdate::SigningKey> made;
    for (std::uint64_t i = 0; i < count; ++i) {
        const Minisign::SecretKey secret = Minisign::GenerateSecretKey();
        auto key = OvxUpdate::SigningKey::FromSecret(secret.key);
        std::string file = role + "-" + key.Id().substr(0, 16) + ".key";
        auto text = Minisign::FormatSecretKeyFile(secret, password.View());
        if (!text) return text.TakeError();
        if (auto written = File::WriteAtomically(Path::Combine(keys.folder, FromUtf8(file)), text->View(),
                                                 File::Access::OwnerOnly);
            !written)
            return written.TakeError();
        roleKeys[key.Id()] = {{"file", file}, {"public", key.Public().value}};
        made.push_back(std::move(key));
    }
    m_state["roles"][role]["keys"] = roleKeys;
    m_state["roles"][role]["threshold"] = count;
    return made;
}

Result<std::vector<OvxUpdate::SigningKey>> RepositoryStore::KeysOf(const std::string& role,
                                                                   const KeyAccess& keys) const {
    std::vector<OvxUpdate::SigningKey> found;
    for (const auto& [id, entry] : m_state["roles"][role]["keys"].items()) {
        CString file = Path::Combine(keys.folder, FromUtf8(entry["file"].get<std::string>()));
        auto bytes = File::ReadAllBytes(file);
        if (!bytes)
            return Error{u"the secret key of role \"" + FromUtf8(role) + u"\" is not at " +
                         OvxUtils::Quoted(file) + u" (name its folder with --keys)"};
        const auto text = Minisign::SecretString::TakeFrom(*bytes);
        auto secret = Minisign::ParseSecretKeyFile(text.View(), keys.password);
        if (!secret) return Error{OvxUtils::Quoted(file) + u": " + secret.ErrorText()};
        auto key = OvxUpdate::SigningKey::FromSecret(secret->key);
        if (key.Id() != id)
            return Error{OvxUtils::Quoted(file) + u" holds another key than role's key " + FromUtf8(id)};
        found.push_back(std::move(key));
    }
    return found;
}

json RepositoryStore::Header(const std::string& role, std::optional<std::int64_t> expiresInSeconds) const {
    const json& state = m_state["roles"][role];
    std::int64_t lifetime = expiresInSeconds.value_or(state["lifetime_days"].get<std::int64_t>() * 86'400);
    return OvxUpdate::HeaderJson(role, state["version"].get<std::uint64_t>(), Now() + lifetime);
}

Result<void> RepositoryStore::WritePublic(const std::string& relative, std::string_view bytes) const {
    CString path = Under(m_folder, "public/" + relative);
    if (auto made = Folder::EnsureExists(Path::GetParentFolder(path)); !made) return made.TakeError();
    return File::WriteAtomically(path, bytes);
}

Result<void> RepositoryStore::PublishRoot(const std::vector<OvxUpdate::SigningKey>& signers) {
    json& root = m_state["roles"]["root"];
    root["version"] = root["version"].get<std::uint64_t>() + 1;
    std::map<std::string, OvxUpdate::RoleKeyList> roles;
    for (const char* role : kTopLevel) {
        const json& state = m_state["roles"][role];
        roles[role].threshold = state["threshold"].get<std::uint64_t>();
        for (const auto& [id, entry] : state["keys"].items())
            roles[role].keys.push_back({"ed25519", "ed25519", entry["public"].get<std::string>()});
    }
    json body = Header("root", std::nullopt);
    body.update(OvxUpdate::RootJson(m_state["consistent_snapshot"].get<bool>(), roles));
    auto bytes = OvxUpdate::SignDocument(body, signers);
    if (!bytes) return bytes.TakeError();
    std::string version = std::to_string(root["version"].get<std::uint64_t>());
    if (auto written = WritePublic("metadata/" + version + ".root.json", *bytes); !written) return written;
    if (auto written = WritePublic("metadata/root.json", *bytes); !written) return written;
    return Save();
}

Result<void> RepositoryStore::PublishRole(const std::string& role, const json& content, const KeyAccess& keys,
                                          std::optional<std::int64_t> expiresInSeconds) {
    auto signers = KeysOf(role, keys);
    if (!signers) return signers.TakeError();
    json& state = m_state["roles"][role];
    state["version"] = state["version"].get<std::uint64_t>() + 1;
    json body = Header(role, expiresInSeconds);
    body.update(content);
    auto bytes = OvxUpdate::SignDocument(body, *signers);
    if (!bytes) return bytes.TakeError();
    std::string version = std::to_string(state["version"].get<std::uint64_t>());
    bool prefixed = m_state["consistent_snapshot"].get<bool>() && role != "timestamp";
    if (auto written = WritePublic("metadata/" + (prefixed ? version + "." : "") + role + ".json", *bytes);
        !written)
        return written;
    if (role == "snapshot")
        m_state["snapshot_meta"] = OvxUpdate::MetaFileJson(state["version"].get<std::uint64_t>(), *bytes);
    return Save();
}

Result<AddedTarget> RepositoryStore::Add(const CString& package) {
    auto opened = OpenPackage(package.ToUtf8());
    if (!opened) return opened.TakeError();
    const OvxComponent::ExtensionContainerInfo* info = opened->GetInfo();
    if (!info) return Error{u"not a readable extension package: " + opened->GetInfoError()};
    const auto& authorKeys = m_state["author_keys"];
    if (!authorKeys.empty()) {
        OvxComponent::TrustPolicy policy{OvxComponent::TrustMode::Require, {}, {}, {}};
        for (const auto& key : authorKeys) policy.trustedKeys.push_back(key.get<std::string>());
        auto store = OvxComponent::Trust::TrustStore::Make(policy);
        if (!store) return store.TakeError();
        auto verdict = CheckPackageSignature(*opened, *store);
        if (!verdict.Holds())
            return Error{u"its author signature does not hold under the repository's author keys: " +
                         verdict.problems.front()};
    }
    std::string name = Path::GetFileName(package).ToUtf8();
    if (auto copied = File::CopyAtomically(package, Under(m_folder, "packages/" + name)); !copied)
        return copied.TakeError();
    auto bytes = File::ReadAllBytes(package);
    if (!bytes) return bytes.TakeError();
    const auto& requirements = info->data().requirements;
    json applications = json::array(), platforms = json::array();
    for (auto app : requirements.AppList) applications.push_back(ToString(app).ToUtf8());
    for (auto platform : requirements.PlatformSupport)
        platforms.push_back(OvxUtils::ToString(platform).ToUtf8());
    AddedTarget target{name,
                       bytes->size(),
                       Sha256Hex(*bytes),
                       {{"orvex",
                         {{"document_id", info->GetDocumentID().ToString().ToUtf8()},
                          {"version", info->GetVersionAsString().ToUtf8()},
                          {"applications", applications},
                          {"platforms", platforms},
                          {"extension_type", info->GetSubformatAsString().ToUtf8()}}}}};
    m_state["targets"][name] = OvxUpdate::TargetJson(target.length, target.sha256, target.custom);
    if (auto saved = Save(); !saved) return saved.TakeError();
    return target;
}

Result<void> RepositoryStore::Remove(const std::string& targetPath) {
    if (!m_state["targets"].contains(targetPath))
        return Error{u"the repository has no target " + OvxUtils::Quoted(targetPath)};
    m_state["targets"].erase(targetPath);
    return Save();
}

Result<void> RepositoryStore::Publish(const KeyAccess& keys) {
    bool consistent = m_state["consistent_snapshot"].get<bool>();
    json targets = json::object();
    for (const auto& [path, target] : m_state["targets"].items()) {
        std::string hash = target["hashes"]["sha256"].get<std::string>();
        std::string served = "targets/" + OvxUpdate::ServedTargetName(path, hash, consistent);
        if (!consistent || !File::Exists(Under(m_folder, "public/" + served))) {
            if (auto copied = File::CopyAtomically(Under(m_folder, "packages/" + path),
                                                   Under(m_folder, "public/" + served));
                !copied)
                return copied;
        }
        targets[path] = target;
    }
    if (auto published = PublishRole("targets", {{"targets", targets}}, keys); !published) return published;
    json meta = {{"targets.json", {{"version", VersionOf("targets")}}}};
    if (auto published = PublishRole("snapshot", {{"meta", meta}}, keys); !published) return published;
    return RefreshTimestamp(keys);
}

Result<void> RepositoryStore::RefreshTimestamp(const KeyAccess& keys,
                                               std::optional<std::int64_t> expiresInSeconds) {
    if (!m_state.contains("snapshot_meta"))
        return Error{u"nothing is published yet: run ovxext repo publish"};
    return PublishRole("timestamp", {{"meta", {{"snapshot.json", m_state["snapshot_meta"]}}}}, keys,
                       expiresInSeconds);
}

Result<void> RepositoryStore::Rotate(const std::string& role, std::uint64_t threshold,
                                     const KeyAccess& keys) {
    if (!m_state["roles"].contains(role)) return Error{u"no top-level role " + OvxUtils::Quoted(role)};
    if (threshold < 1 || threshold > 16) return Error{u"the threshold must be between 1 and 16"};
    auto rootSigners = KeysOf("root", keys);
    if (!rootSigners) return rootSigners.TakeError();
    std::vector<std::string> retired;
    for (const auto& [id, entry] : m_state["roles"][role]["keys"].items()) retired.push_back(entry["file"]);
    auto made = NewKeys(role, threshold, keys);
    if (!made) return made.TakeError();
    // A new root is signed by the old root's keys, which clients trust now, and by the new
    // ones, which it names.
    std::vector<OvxUpdate::SigningKey> signers = *rootSigners;
    if (role == "root") signers.insert(signers.end(), made->begin(), made->end());
    if (auto root = PublishRoot(signers); !root) return root;
    Result<void> republished;
    if (role == "targets") republished = Publish(keys);
    if (role == "snapshot")
        republished = PublishRole("snapshot",
                                  {{"meta", {{"targets.json", {{"version", VersionOf("targets")}}}}}}, keys);
    if ((role == "snapshot" && republished) || role == "timestamp") republished = RefreshTimestamp(keys);
    if (!republished) return republished;
    // The retired secret keys sign nothing any more.
    for (const std::string& file : retired) File::Delete(Path::Combine(keys.folder, FromUtf8(file)));
    return {};
}

}  // namespace Ovxext
