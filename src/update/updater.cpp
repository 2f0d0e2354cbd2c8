#include "update/updater.h"

#include "platform/stream/file_stream.h"
#include "platform/system_io/file.h"
#include "platform/system_io/path.h"
#include "update/hash_check.h"
#include "update/update_error.h"

#include <set>
#include <utility>

namespace OvxUpdate {

namespace File = OvxUtils::SystemIO::File;
namespace Path = OvxUtils::SystemIO::Path;

namespace {

bool IsUnreserved(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_' || c == '~';
}

std::string StatusText(unsigned status) { return "the server answered " + std::to_string(status); }

}  // namespace

std::string PercentEncoded(std::string_view text, bool keepSlashes) {
    std::string encoded;
    for (unsigned char c : text) {
        if (IsUnreserved(c) || (keepSlashes && c == '/')) {
            encoded += static_cast<char>(c);
        } else {
            encoded += '%';
            encoded += "0123456789ABCDEF"[c >> 4];
            encoded += "0123456789ABCDEF"[c & 0xF];
        }
    }
    return encoded;
}

CString Updater::FileNameOf(const std::string& role) {
    return CString::FromUtf8(PercentEncoded(role) + ".json");
}

Updater::Updater(UpdaterSettings settings, IFetcher& fetcher, std::int64_t now, StepReport report)
    : m_settings(std::move(settings)), m_fetcher(fetcher), m_now(now), m_report(std::move(report)) {}

void Updater::Report(const std::string& step) const {
    if (m_report) m_report(step);
}

Result<Updater::Answer> Updater::FetchMetadata(const std::string& role, std::optional<std::uint64_t> version,
                                               std::uint64_t maxBytes) {
    std::string url = m_settings.metadataUrl + (version ? std::to_string(*version) + "." : "") +
                      PercentEncoded(role) + ".json";
    FetchLimits limits = m_settings.timing;
    limits.maxBytes = maxBytes;
    Answer answer;
    auto status = m_fetcher.Fetch(url, limits, [&](std::string_view part) -> Result<void> {
        answer.body.append(part);
        return {};
    });
    if (!status) return status.TakeError();
    answer.status = *status;
    return answer;
}

Result<void> Updater::Store(const std::string& role, std::string_view bytes) {
    return File::WriteAtomically(Path::Combine(m_settings.metadataFolder, FileNameOf(role)), bytes);
}

std::optional<std::string> Updater::ReadStored(const std::string& role) const {
    auto bytes = File::ReadAllBytes(Path::Combine(m_settings.metadataFolder, FileNameOf(role)));
    if (!bytes) return std::nullopt;
    return std::move(*bytes);
}

Result<void> Updater::LoadRoot() {
    auto stored = ReadStored("root");
    if (!stored) return Refused("no trusted root: the metadata folder has no \"root.json\"");
    auto trusted = TrustedMetadata::FromRoot(*stored, m_now);
    if (!trusted) return trusted.TakeError();
    m_trusted.emplace(std::move(*trusted));
    return {};
}

Result<void> Updater::UpdateRoots() {
    std::uint64_t first = m_trusted->GetRoot().version + 1;
    for (std::uint64_t version = first; version < first + m_settings.maxRootRotations; ++version) {
        auto answer = FetchMetadata("root", version, m_settings.rootMaxBytes);
        if (!answer) return answer.TakeError();
        if (answer->status == 404 || answer->status == 403) return {};
        if (answer->status != 200)
            return Refused("root version " + std::to_string(version) + ": " + StatusText(answer->status));
        if (auto updated = m_trusted->UpdateRoot(answer->body); !updated) return updated.TakeError();
        if (auto stored = Store("root", answer->body); !stored) return stored.TakeError();
        Report("root version " + std::to_string(version) + " trusted");
    }
    return {};
}

Result<void> Updater::UpdateTimestamp() {
    // The stored timestamp, when it still verifies under today's root, is the floor that a
    // new one must not go below; when the root rotated the timestamp keys it no longer
    // verifies and is dropped, which is how a repository recovers from a fast-forward.
    if (auto stored = ReadStored("timestamp")) (void)m_trusted->UpdateTimestamp(*stored);
    auto answer = FetchMetadata("timestamp", std::nullopt, m_settings.timestampMaxBytes);
    if (!answer) return answer.TakeError();
    if (answer->status != 200) return Refused("the timestamp: " + StatusText(answer->status));
    auto outcome = m_trusted->UpdateTimestamp(answer->body);
    if (!outcome) return Refused("the timestamp is refused: " + TextOf(outcome));
    if (*outcome == TrustedMetadata::TimestampOutcome::SameVersion) {
        m_timestampUnchanged = true;
        Report("timestamp unchanged");
        return {};
    }
    if (auto stored = Store("timestamp", answer->body); !stored) return stored.TakeError();
    Report("timestamp version " + std::to_string(m_trusted->GetTimestamp()->version) + " trusted");
    return {};
}

Result<void> Updater::UpdateSnapshot() {
    if (auto stored = ReadStored("snapshot")) {
        if (m_trusted->UpdateSnapshot(*stored, true)) return {};
    }
    const MetaFile& listed = m_trusted->GetTimestamp()->snapshot;
    std::optional<std::uint64_t> version;
    if (m_trusted->GetRoot().consistentSnapshot) version = listed.version;
    auto answer = FetchMetadata("snapshot", version, listed.length.value_or(m_settings.snapshotMaxBytes));
    if (!answer) return answer.TakeError();
    if (answer->status != 200)
        return Refused("snapshot version " + std::to_string(listed.version) + ": " +
                       StatusText(answer->status));
    if (auto updated = m_trusted->UpdateSnapshot(answer->body, false); !updated)
        return Refused("the snapshot is refused: " + TextOf(updated));
    if (auto stored = Store("snapshot", answer->body); !stored) return stored.TakeError();
    Report("snapshot version " + std::to_string(listed.version) + " trusted");
    return {};
}

Result<void> Updater::LoadTargets(const std::string& role, const std::string& delegator) {
    if (m_trusted->TargetsOf(role)) {
        if (auto delegated = m_trusted->CheckDelegation(role, delegator); !delegated)
            return Refused("role " + Named(role) + " is refused: " + TextOf(delegated));
        return {};
    }
    if (auto stored = ReadStored(role)) {
        if (m_trusted->UpdateTargets(*stored, role, delegator)) return {};
    }
    const Snapshot& snapshot = *m_trusted->GetSnapshot();
    auto listed = snapshot.meta.find(role + ".json");
    if (listed == snapshot.meta.end()) return Refused("role " + Named(role) + " is not in the snapshot");
    std::optional<std::uint64_t> version;
    if (m_trusted->GetRoot().consistentSnapshot) version = listed->second.version;
    auto answer = FetchMetadata(role, version, listed->second.length.value_or(m_settings.targetsMaxBytes));
    if (!answer) return answer.TakeError();
    if (answer->status != 200) return Refused("role " + Named(role) + ": " + StatusText(answer->status));
    if (auto updated = m_trusted->UpdateTargets(answer->body, role, delegator); !updated)
        return Refused("role " + Named(role) + " is refused: " + TextOf(updated));
    if (auto stored = Store(role, answer->body); !stored) return stored.TakeError();
    Report("role " + Named(role) + " version " + std::to_string(listed->second.version) + " trusted");
    return {};
}

Result<void> Updater::Refresh() {
    m_trusted.reset();
    m_refreshed = false;
    m_timestampUnchanged = false;
    if (auto loaded = LoadRoot(); !loaded) return loaded;
    if (auto roots = UpdateRoots(); !roots) return roots;
    if (auto timestamp = UpdateTimestamp(); !timestamp) return timestamp;
    if (auto snapshot = UpdateSnapshot(); !snapshot) return snapshot;
    if (auto targets = LoadTargets("targets", "root"); !targets) return targets;
    m_refreshed = true;
    return {};
}

Result<std::optional<TargetFile>> Updater::FindTarget(const std::string& path) {
    if (!m_refreshed) {
        if (auto refreshed = Refresh(); !refreshed) return refreshed.TakeError();
    }
    // Pre-order, depth first, in the order each role lists its delegations; a terminating
    // delegation that covers the path ends the search below it.
    std::vector<std::pair<std::string, std::string>> toVisit{{"targets", "root"}};
    std::set<std::pair<std::string, std::string>> visited;
    unsigned budget = m_settings.maxDelegations;
    while (budget > 0 && !toVisit.empty()) {
        auto [role, delegator] = std::move(toVisit.back());
        toVisit.pop_back();
        if (visited.contains({role, delegator})) continue;
        if (auto loaded = LoadTargets(role, delegator); !loaded) return loaded.TakeError();
        const Targets& targets = *m_trusted->TargetsOf(role);
        if (auto found = targets.targets.find(path); found != targets.targets.end())
            return std::optional<TargetFile>(found->second);
        visited.emplace(role, delegator);
        --budget;
        if (!targets.delegations) continue;
        std::vector<std::pair<std::string, std::string>> children;
        if (targets.delegations->succinct) {
            children.emplace_back(targets.delegations->succinct->RoleFor(path), role);
            toVisit.clear();
        } else {
            for (const auto& child : targets.delegations->roles) {
                if (!Covers(child, path)) continue;
                children.emplace_back(child.name, role);
                if (child.terminating) {
                    toVisit.clear();
                    break;
                }
            }
        }
        toVisit.insert(toVisit.end(), children.rbegin(), children.rend());
    }
    return std::optional<TargetFile>();
}

Result<std::vector<TargetFile>> Updater::AllTargets() {
    if (!m_refreshed) {
        if (auto refreshed = Refresh(); !refreshed) return refreshed.TakeError();
    }
    // Every role reachable through the delegations, once each; the paths they list are
    // then looked up as a client would, so a path counts only where the delegation order
    // and the patterns let it.
    std::vector<std::pair<std::string, std::string>> toVisit{{"targets", "root"}};
    std::set<std::string> visited;
    std::set<std::string> paths;
    while (!toVisit.empty()) {
        auto [role, delegator] = std::move(toVisit.back());
        toVisit.pop_back();
        if (!visited.insert(role).second) continue;
        if (visited.size() > m_settings.maxListedRoles)
            return Refused("the repository has more than the " + std::to_string(m_settings.maxListedRoles) +
                           " roles a listing reads");
        if (auto loaded = LoadTargets(role, delegator); !loaded) return loaded.TakeError();
        const Targets& targets = *m_trusted->TargetsOf(role);
        for (const auto& [path, file] : targets.targets) paths.insert(path);
        if (!targets.delegations) continue;
        std::vector<std::pair<std::string, std::string>> children;
        if (const auto& succinct = targets.delegations->succinct) {
            for (std::uint64_t bin = 0; bin < (std::uint64_t{1} << succinct->bitLength); ++bin) {
                children.emplace_back(succinct->NameOf(bin), role);
                if (children.size() > m_settings.maxListedRoles) break;
            }
        } else {
            for (const auto& child : targets.delegations->roles) children.emplace_back(child.name, role);
        }
        toVisit.insert(toVisit.end(), children.rbegin(), children.rend());
    }
    std::vector<TargetFile> all;
    for (const auto& path : paths) {
        auto found = FindTarget(path);
        if (!found) return found.TakeError();
        if (*found) all.push_back(std::move(**found));
    }
    return all;
}

bool Updater::IsDownloaded(const TargetFile& target, const CString& path) const {
    return FileMatches(path, target.length, target.hashes);
}

Result<void> Updater::Download(const TargetFile& target, const CString& path) {
    std::string remotePath = target.path;
    if (m_trusted && m_trusted->GetRoot().consistentSnapshot && !target.hashes.empty()) {
        auto slash = remotePath.rfind('/');
        auto folder = slash == std::string::npos ? std::string() : remotePath.substr(0, slash + 1);
        auto name = slash == std::string::npos ? remotePath : remotePath.substr(slash + 1);
        remotePath = folder + target.hashes.begin()->second + "." + name;
    }
    std::string url = m_settings.targetsUrl + PercentEncoded(remotePath, true);
    FetchLimits limits = m_settings.timing;
    limits.maxBytes = target.length;
    std::string what = "target " + Named(target.path);
    return File::ReplaceAtomically(path, [&](const CString& temporary) -> Result<void> {
        auto stream = OvxUtils::FileStream::Make(temporary);
        if (!stream) return OvxUtils::SystemError(u"cannot create " + OvxUtils::Quoted(temporary));
        BackgroundHashCheck check(target.hashes);
        auto status = m_fetcher.Fetch(url, limits, [&](std::string_view part) -> Result<void> {
            if (!stream->Write(part.data(), part.size()))
                return OvxUtils::SystemError(u"cannot write " + OvxUtils::Quoted(temporary));
            check.Add(part);
            return {};
        });
        if (!status) return status.TakeError();
        if (*status != 200) return Refused(what + ": " + StatusText(*status));
        if (auto checked = check.Finish(target.length, what); !checked) return checked;
        Report(what + " downloaded");
        return {};
    });
}

}  // namespace OvxUpdate
