// Updater: one client of one repository. A refresh walks the repository's roles in the
// order that defends against rollback, freeze and mix-and-match: the chain of roots, then
// the timestamp, the snapshot and the top-level targets. Every document it trusts is
// stored under the role's name in the metadata folder, each replaced in one atomic step,
// so that a crash leaves the old document or the new one. Targets are looked up through
// the delegations and downloaded with their length and hashes checked.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/update/fetcher.h"
#include "update/trusted_metadata.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace OvxUpdate {

using ::CString;

struct UpdaterSettings {
    // Where the trusted metadata is kept: "root.json" at least, before the first refresh.
    CString metadataFolder;
    // The repository's metadata and targets, each ending in '/'.
    std::string metadataUrl;
    std::string targetsUrl;
    // Caps on what the server may send where the metadata names no length.
    std::uint64_t rootMaxBytes = 512'000;
    std::uint64_t timestampMaxBytes = 16'384;
    std::uint64_t snapshotMaxBytes = 2'000'000;
    std::uint64_t targetsMaxBytes = 5'000'000;
    unsigned maxRootRotations = 256;
    unsigned maxDelegations = 32;
    unsigned maxListedRoles = 1024;
    // The time limits of every download (maxBytes is set per download).
    FetchLimits timing;
};

// What the updater did, for the channel's log: one line per step.
using StepReport = std::function<void(const std::string& step)>;

class Updater {
public:
    // now: seconds since 1970, the time all expiry is judged at during this updater's life.
    Updater(UpdaterSettings settings, IFetcher& fetcher, std::int64_t now, StepReport report = {});

    // Brings the top-level metadata up to date; on failure, what was trusted and stored
    // before stays, but for the documents that the failing step had already accepted.
    Result<void> Refresh();

    // The target at path, found through the delegations in their order; nothing when no
    // role that may list it does. Refreshes first when this updater has not.
    Result<std::optional<TargetFile>> FindTarget(const std::string& path);

    // Every target the repository lists, each as FindTarget would find it: the roles are
    // read in FindTarget's order, and a target counts only from the first role that may
    // list its path. A repository with more roles than maxListedRoles is refused.
    Result<std::vector<TargetFile>> AllTargets();

    // Whether the file at path has the target's length and hashes already.
    bool IsDownloaded(const TargetFile& target, const CString& path) const;

    // Downloads the target and puts it at path in one step, checked; on any failure
    // nothing is at path that was not there before.
    Result<void> Download(const TargetFile& target, const CString& path);

    // Whether the last refresh found the timestamp it had stored: then nothing else in the
    // repository changed either.
    bool TimestampWasUnchanged() const { return m_timestampUnchanged; }

    // The trusted metadata after a refresh (null before one succeeded far enough).
    const TrustedMetadata* Trusted() const { return m_trusted ? &*m_trusted : nullptr; }

    // The file name that a role's metadata is stored under: the name percent-encoded.
    static CString FileNameOf(const std::string& role);

private:
    struct Answer {
        unsigned status = 0;
        std::string body;
    };
    Result<Answer> FetchMetadata(const std::string& role, std::optional<std::uint64_t> version,
                                 std::uint64_t maxBytes);
    Result<void> Store(const std::string& role, std::string_view bytes);
    std::optional<std::string> ReadStored(const std::string& role) const;
    Result<void> LoadRoot();
    Result<void> UpdateRoots();
    Result<void> UpdateTimestamp();
    Result<void> UpdateSnapshot();
    Result<void> LoadTargets(const std::string& role, const std::string& delegator);
    void Report(const std::string& step) const;

    UpdaterSettings m_settings;
    IFetcher& m_fetcher;
    std::int64_t m_now;
    StepReport m_report;
    std::optional<TrustedMetadata> m_trusted;
    bool m_refreshed = false;
    bool m_timestampUnchanged = false;
};

// text with every byte but the unreserved ones (letters, digits, "-._~") percent-encoded.
std::string PercentEncoded(std::string_view text, bool keepSlashes = false);

}  // namespace OvxUpdate
