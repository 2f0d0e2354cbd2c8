// TrustedMetadata: the metadata this client has verified, and the rules by which a newer
// document may replace it. It holds no files and makes no requests: the updater reads and
// fetches, this decides. Each update is checked against what is trusted now (signatures
// of the delegating role's keys, versions that never go back, expiry against the clock
// given at construction), and a refused update leaves what was trusted as it was.
#pragma once

#include "update/metadata.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace OvxUpdate {

class TrustedMetadata {
public:
    // Trust starts from a root the host ships or stored before, signed by a threshold of
    // its own keys. Its expiry is not checked here: an expired root may still lead to a
    // newer one.
    static Result<TrustedMetadata> FromRoot(std::string_view bytes, std::int64_t now);

    // The next root version, signed by a threshold of the trusted root's keys and of its
    // own. Only before the timestamp is updated.
    Result<void> UpdateRoot(std::string_view bytes);

    enum class TimestampOutcome { Accepted, SameVersion };
    // A timestamp signed by the root's timestamp keys; the same version as the trusted one
    // keeps the trusted one. An expired timestamp is refused, but stays trusted for the
    // version checks of this refresh.
    Result<TimestampOutcome> UpdateTimestamp(std::string_view bytes);

    // A snapshot with the length and hashes the timestamp lists (unless it is the copy
    // stored before, local), signed by the root's snapshot keys, with no role gone and no
    // role's version lower than in the trusted snapshot.
    Result<void> UpdateSnapshot(std::string_view bytes, bool local);

    // A targets role: "targets" from the root, or a role that delegator delegates to, with
    // the version, length and hashes the snapshot lists.
    Result<void> UpdateTargets(std::string_view bytes, const std::string& role, const std::string& delegator);

    // Whether a targets role trusted before is also signed as delegator requires: a role
    // reached by a second path is held to that path's keys too.
    Result<void> CheckDelegation(const std::string& role, const std::string& delegator) const;

    const Root& GetRoot() const { return m_root; }
    const Timestamp* GetTimestamp() const { return m_timestamp ? &*m_timestamp : nullptr; }
    const Snapshot* GetSnapshot() const { return m_snapshot ? &*m_snapshot : nullptr; }
    const Targets* TargetsOf(const std::string& role) const;

    // The checks of the final snapshot: not expired, and the version the timestamp names.
    Result<void> CheckSnapshotIsFinal() const;

private:
    struct TrustedTargets {
        SignedDocument document;
        Targets targets;
    };
    struct Delegation {
        const KeyMap* keys;
        const RoleKeys* role;
    };

    TrustedMetadata(Root root, std::int64_t now) : m_root(std::move(root)), m_now(now) {}
    Result<Delegation> DelegationOf(const std::string& role, const std::string& delegator) const;
    Result<void> CheckTimestampIsFinal() const;

    Root m_root;
    std::int64_t m_now;
    std::optional<Timestamp> m_timestamp;
    std::optional<Snapshot> m_snapshot;
    std::map<std::string, TrustedTargets> m_targets;
};

}  // namespace OvxUpdate
