#include "update/trusted_metadata.h"

#include "update/hash_check.h"
#include "update/role_signatures.h"
#include "update/update_error.h"

namespace OvxUpdate {

namespace {

std::string VersionText(std::uint64_t version) { return "version " + std::to_string(version); }

template <class Role>
Result<std::pair<SignedDocument, Role>> ReadAs(std::string_view bytes,
                                               Result<Role> (*read)(const SignedDocument&)) {
    auto document = ReadSignedDocument(bytes);
    if (!document) return document.TakeError();
    auto role = read(*document);
    if (!role) return role.TakeError();
    return std::pair<SignedDocument, Role>{std::move(*document), std::move(*role)};
}

}  // namespace

Result<TrustedMetadata> TrustedMetadata::FromRoot(std::string_view bytes, std::int64_t now) {
    auto read = ReadAs(bytes, &ReadRoot);
    if (!read) return Refused("the trusted root cannot be used: " + TextOf(read));
    auto& [document, root] = *read;
    if (auto signedBySelf = CheckThreshold(document, root.keys, root.roles.at("root"), "root"); !signedBySelf)
        return Refused("the trusted root cannot be used: " + TextOf(signedBySelf));
    return TrustedMetadata(std::move(root), now);
}

Result<void> TrustedMetadata::UpdateRoot(std::string_view bytes) {
    if (m_timestamp) return Refused("the root cannot change after the timestamp of the same refresh");
    auto read = ReadAs(bytes, &ReadRoot);
    if (!read) return read.TakeError();
    auto& [document, root] = *read;
    if (auto byTrusted = CheckThreshold(document, m_root.keys, m_root.roles.at("root"), "root"); !byTrusted)
        return Refused("root " + VersionText(root.version) +
                       " is not signed by the trusted root's keys: " + TextOf(byTrusted));
    if (root.version != m_root.version + 1)
        return Refused("root version mismatch: the server sent " + VersionText(root.version) + " for " +
                       VersionText(m_root.version + 1));
    if (auto bySelf = CheckThreshold(document, root.keys, root.roles.at("root"), "root"); !bySelf)
        return Refused("root " + VersionText(root.version) +
                       " is not signed by its own keys: " + TextOf(bySelf));
    m_root = std::move(root);
    return {};
}

Result<TrustedMetadata::TimestampOutcome> TrustedMetadata::UpdateTimestamp(std::string_view bytes) {
    if (m_snapshot) return Refused("the timestamp cannot change after the snapshot of the same refresh");
    if (m_root.IsExpiredAt(m_now)) return Refused("expired: the newest root the server has expired");
    auto read = ReadAs(bytes, &ReadTimestamp);
    if (!read) return read.TakeError();
    auto& [document, timestamp] = *read;
    if (auto signature = CheckThreshold(document, m_root.keys, m_root.roles.at("timestamp"), "timestamp");
        !signature)
        return signature.TakeError();
    if (m_timestamp) {
        if (timestamp.version < m_timestamp->version)
            return Refused("rolled back: timestamp " + VersionText(timestamp.version) +
                           " is older than the trusted " + VersionText(m_timestamp->version));
        if (timestamp.version == m_timestamp->version) return TimestampOutcome::SameVersion;
        if (timestamp.snapshot.version < m_timestamp->snapshot.version)
            return Refused("rolled back: the timestamp names snapshot " +
                           VersionText(timestamp.snapshot.version) + ", older than the trusted " +
                           VersionText(m_timestamp->snapshot.version));
    }
    m_timestamp = std::move(timestamp);
    if (auto final = CheckTimestampIsFinal(); !final) return final.TakeError();
    return TimestampOutcome::Accepted;
}

Result<void> TrustedMetadata::CheckTimestampIsFinal() const {
    if (m_timestamp->IsExpiredAt(m_now)) return Refused("expired: the timestamp expired");
    return {};
}

Result<void> TrustedMetadata::UpdateSnapshot(std::string_view bytes, bool local) {
    if (!m_timestamp) return Refused("the snapshot cannot be read before the timestamp");
    if (!m_targets.empty())
        return Refused("the snapshot cannot change after the targets of the same refresh");
    if (auto final = CheckTimestampIsFinal(); !final) return final.TakeError();
    if (!local) {
        const MetaFile& listed = m_timestamp->snapshot;
        if (auto matches = CheckLengthAndHashes(bytes, listed.length, listed.hashes, "the snapshot");
            !matches)
            return matches.TakeError();
    }
    auto read = ReadAs(bytes, &ReadSnapshot);
    if (!read) return read.TakeError();
    auto& [document, snapshot] = *read;
    if (auto signature = CheckThreshold(document, m_root.keys, m_root.roles.at("snapshot"), "snapshot");
        !signature)
        return signature.TakeError();
    if (m_snapshot) {
        for (const auto& [name, file] : m_snapshot->meta) {
            auto listed = snapshot.meta.find(name);
            if (listed == snapshot.meta.end())
                return Refused("rolled back: the snapshot no longer lists " + Named(name));
            if (listed->second.version < file.version)
                return Refused("rolled back: the snapshot lists " + Named(name) + " at " +
                               VersionText(listed->second.version) + ", older than the trusted " +
                               VersionText(file.version));
        }
    }
    m_snapshot = std::move(snapshot);
    return CheckSnapshotIsFinal();
}

Result<void> TrustedMetadata::CheckSnapshotIsFinal() const {
    if (m_snapshot->IsExpiredAt(m_now)) return Refused("expired: the snapshot expired");
    if (m_snapshot->version != m_timestamp->snapshot.version)
        return Refused("snapshot version mismatch: the server sent " + VersionText(m_snapshot->version) +
                       ", the timestamp names " + VersionText(m_timestamp->snapshot.version));
    return {};
}

Result<TrustedMetadata::Delegation> TrustedMetadata::DelegationOf(const std::string& role,
                                                                  const std::string& delegator) const {
    if (delegator == "root") {
        auto keys = m_root.roles.find(role);
        if (keys == m_root.roles.end()) return Refused("the root does not delegate " + Named(role));
        return Delegation{&m_root.keys, &keys->second};
    }
    const Targets* parent = TargetsOf(delegator);
    if (!parent || !parent->delegations) return Refused("role " + Named(delegator) + " delegates nothing");
    const Delegations& delegations = *parent->delegations;
    for (const auto& delegated : delegations.roles)
        if (delegated.name == role) return Delegation{&delegations.keys, &delegated.keys};
    if (delegations.succinct && delegations.succinct->IsOneOf(role))
        return Delegation{&delegations.keys, &delegations.succinct->keys};
    return Refused("role " + Named(delegator) + " does not delegate " + Named(role));
}

Result<void> TrustedMetadata::UpdateTargets(std::string_view bytes, const std::string& role,
                                            const std::string& delegator) {
    if (!m_snapshot) return Refused("targets cannot be read before the snapshot");
    if (auto final = CheckSnapshotIsFinal(); !final) return final.TakeError();
    auto listed = m_snapshot->meta.find(role + ".json");
    if (listed == m_snapshot->meta.end()) return Refused("the snapshot does not list role " + Named(role));
    if (auto matches =
            CheckLengthAndHashes(bytes, listed->second.length, listed->second.hashes, "role " + Named(role));
        !matches)
        return matches.TakeError();
    auto delegation = DelegationOf(role, delegator);
    if (!delegation) return delegation.TakeError();
    auto read = ReadAs(bytes, &ReadTargets);
    if (!read) return read.TakeError();
    auto& [document, targets] = *read;
    if (auto signature = CheckThreshold(document, *delegation->keys, *delegation->role, role); !signature)
        return signature.TakeError();
    if (targets.version != listed->second.version)
        return Refused("version mismatch: role " + Named(role) + " is at " + VersionText(targets.version) +
                       ", the snapshot names " + VersionText(listed->second.version));
    if (targets.IsExpiredAt(m_now)) return Refused("expired: role " + Named(role) + " expired");
    m_targets.insert_or_assign(role, TrustedTargets{std::move(document), std::move(targets)});
    return {};
}

Result<void> TrustedMetadata::CheckDelegation(const std::string& role, const std::string& delegator) const {
    auto trusted = m_targets.find(role);
    if (trusted == m_targets.end()) return Refused("role " + Named(role) + " is not trusted yet");
    auto delegation = DelegationOf(role, delegator);
    if (!delegation) return delegation.TakeError();
    return CheckThreshold(trusted->second.document, *delegation->keys, *delegation->role, role);
}

const Targets* TrustedMetadata::TargetsOf(const std::string& role) const {
    auto trusted = m_targets.find(role);
    return trusted == m_targets.end() ? nullptr : &trusted->second.targets;
}

}  // namespace OvxUpdate
