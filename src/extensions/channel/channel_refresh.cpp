#include "extensions/channel/channel_refresh.h"

#include "extensions/channel/channel_package.h"
#include "extensions/log/log_timestamp.h"
#include "platform/system_io/folder.h"
#include "platform/system_io/path.h"
#include "platform/system_io/temporary_name.h"
#include "update/hash_check.h"
#include "update/update_error.h"

#include <ctime>
#include <map>

namespace OvxComponent {

namespace File = OvxUtils::SystemIO::File;
namespace Folder = OvxUtils::SystemIO::Folder;
namespace Path = OvxUtils::SystemIO::Path;

namespace {

constexpr char16_t kSubject[] = u"channel";

CString Utf16(const std::string& text) { return CString::FromUtf8(text); }

CString Shown(const std::string& hostile) { return Utf16(OvxUpdate::Named(hostile)); }

}  // namespace

ChannelRefresher::ChannelRefresher(const UpdateChannelSettings& settings, OvxUpdate::IFetcher& fetcher,
                                   ExtensionLog& log, std::function<bool(const ChannelPackage&)> wants)
    : m_settings(settings),
      m_fetcher(fetcher),
      m_log(log),
      m_wants(std::move(wants)),
      m_placed(Path::Combine(settings.stateFolder, u"placed_packages.json")) {}

CString ChannelRefresher::MetadataFolder(const CString& stateFolder) {
    return Path::Combine(stateFolder, u"metadata");
}

ChannelRefresh ChannelRefresher::Refused(const CString& reason) {
    m_log.Error(kSubject, u"Refresh refused: " + reason);
    return ChannelRefresh{false, reason, LogClockNow(), 0, 0, 0};
}

ChannelRefresh ChannelRefresher::Run() {
    m_log.Information(kSubject, u"Refreshing from " + Shown(m_settings.metadataUrl) + u".");
    OvxUpdate::UpdaterSettings settings;
    settings.metadataFolder = MetadataFolder(m_settings.stateFolder);
    settings.metadataUrl = m_settings.metadataUrl;
    settings.targetsUrl = m_settings.targetsUrl;
    settings.timing = m_settings.timing;
    OvxUpdate::Updater updater(settings, m_fetcher, static_cast<std::int64_t>(std::time(nullptr)),
                               [&](const std::string& step) { m_log.Information(kSubject, Utf16(step)); });
    if (auto refreshed = updater.Refresh(); !refreshed) return Refused(refreshed.ErrorText());
    if (auto loaded = m_placed.Load(); !loaded) {
        m_log.Warning(kSubject, loaded.ErrorText() + u"; packages placed before are left where they are");
    }
    std::uint64_t timestampVersion = updater.Trusted()->GetTimestamp()->version;
    if (updater.TimestampWasUnchanged() && m_placed.CompleteAt() == timestampVersion) {
        m_log.Information(kSubject, u"Refresh complete: the repository has not changed.");
        return ChannelRefresh{true, {}, LogClockNow(), 0, 0, 0};
    }
    auto targets = updater.AllTargets();
    if (!targets) return Refused(targets.ErrorText());

    // What the host wants, by destination name; a second target for one name is left out.
    std::map<std::string, std::pair<const OvxUpdate::TargetFile*, CString>> wanted;
    std::map<CString, std::string> names;
    for (const auto& target : *targets) {
        if (!m_wants(ReadChannelPackage(target))) continue;
        auto name = DestinationName(target.path);
        if (!name) {
            m_log.Warning(kSubject, name.ErrorText());
            continue;
        }
        if (auto [taken, added] = names.emplace(*name, target.path); !added) {
            m_log.Warning(kSubject, u"Target " + Shown(target.path) + u" is left out: target " +
                                        Shown(taken->second) + u" has the same file name.");
            continue;
        }
        wanted.emplace(target.path, std::pair{&target, *name});
    }

    for (const auto& [path, entry] : m_placed.Entries()) names.emplace(entry.fileName, path);
    SweepLeftovers(names);
    Counts counts;
    CString firstFailure;
    for (const auto& [path, target] : wanted) {
        if (auto placed = Place(updater, *target.first, target.second, counts); !placed) {
            CString failure = u"package " + Shown(path) + u" is not placed: " + placed.ErrorText();
            m_log.Error(kSubject, failure);
            if (firstFailure.IsEmpty()) firstFailure = failure;
        }
    }
    bool complete = firstFailure.IsEmpty();
    std::vector<std::string> gone;
    for (const auto& [path, entry] : m_placed.Entries())
        if (!wanted.contains(path)) gone.push_back(path);
    for (const auto& path : gone) Remove(path, counts);
    if (complete) m_placed.SetCompleteAt(timestampVersion);
    if (auto saved = m_placed.Save(); !saved) return Refused(saved.ErrorText());
    if (!complete)
        return ChannelRefresh{false,         firstFailure,    LogClockNow(),
                              counts.placed, counts.replaced, counts.removed};
    m_log.Information(kSubject, u"Refresh complete: " + OvxUtils::DecimalText(counts.placed) + u" placed, " +
                                    OvxUtils::DecimalText(counts.replaced) + u" replaced, " +
                                    OvxUtils::DecimalText(counts.removed) + u" removed.");
    return ChannelRefresh{true, {}, LogClockNow(), counts.placed, counts.replaced, counts.removed};
}

OvxUtils::Result<void> ChannelRefresher::Place(OvxUpdate::Updater& updater,
                                               const OvxUpdate::TargetFile& target, const CString& name,
                                               Counts& counts) {
    CString path = Path::Combine(m_settings.destination, name);
    auto& entries = m_placed.Entries();
    auto recorded = entries.find(target.path);
    auto identity = File::GetIdentity(path);
    bool ours = recorded != entries.end() && recorded->second.fileName == name;
    if (ours && recorded->second.hashes == target.hashes && recorded->second.identity &&
        identity == recorded->second.identity)
        return {};  // placed before, and untouched since
    // A file there already that is the target (a crash before the record was written, or
    // the same bytes put there by hand) is adopted without a download.
    const bool alreadyThere = identity && updater.IsDownloaded(target, path);
    if (identity && !ours && !alreadyThere)
        return OvxUtils::Error{u"the destination has a file " + OvxUtils::Quoted(name) +
                               u" that the channel did not place"};
    bool replacing = identity.has_value();
    PlacedPackages::Entry entry{name, target.length, target.hashes, std::nullopt};
    if (!alreadyThere) {
        // The entry goes first: a crash after the rename leaves no file the record lacks.
        std::optional<PlacedPackages::Entry> previous;
        if (recorded != entries.end()) previous = recorded->second;
        entries.insert_or_assign(target.path, entry);
        if (auto saved = m_placed.Save(); !saved) return saved;
        if (auto downloaded = updater.Download(target, path); !downloaded) {
            if (previous)
                entries.insert_or_assign(target.path, *previous);
            else
                entries.erase(target.path);
            return downloaded;
        }
        m_log.Information(kSubject, (replacing ? u"Replaced " : u"Placed ") + OvxUtils::Quoted(name) +
                                        u" from target " + Shown(target.path) + u".");
        ++(replacing ? counts.replaced : counts.placed);
    }
    entry.identity = File::GetIdentity(path);
    entries.insert_or_assign(target.path, entry);
    return {};
}

void ChannelRefresher::SweepLeftovers(const std::map<CString, std::string>& names) {
    // What a crash left of an earlier download: temporary names beside the channel's own
    // packages (others in the folder may be another program's work in progress).
    for (const CString& path : Folder::GetFiles(m_settings.destination, false)) {
        CString file = Path::GetFileName(path);
        if (!OvxUtils::SystemIO::TemporaryName::IsTemporary(file)) continue;
        for (const auto& [name, target] : names)
            if (file.StartsWith(u"." + name + u".")) File::Delete(path);
    }
}

void ChannelRefresher::Remove(const std::string& targetPath, Counts& counts) {
    auto& entries = m_placed.Entries();
    const PlacedPackages::Entry& entry = entries.at(targetPath);
    CString path = Path::Combine(m_settings.destination, entry.fileName);
    auto identity = File::GetIdentity(path);
    bool asPlaced = entry.identity ? identity == entry.identity
                                   : OvxUpdate::FileMatches(path, entry.length, entry.hashes);
    if (identity && !asPlaced) {
        m_log.Warning(kSubject, u"Left " + OvxUtils::Quoted(entry.fileName) +
                                    u" in place: it changed since the channel placed it.");
    } else if (identity) {
        if (!File::Delete(path)) {
            m_log.Error(kSubject, u"Cannot remove " + OvxUtils::Quoted(entry.fileName) + u": " +
                                      OvxUtils::SystemErrorText(OvxUtils::LastSystemError()));
            return;
        }
        m_log.Information(kSubject, u"Removed " + OvxUtils::Quoted(entry.fileName) +
                                        u": the repository no longer lists target " + Shown(targetPath) +
                                        u".");
        ++counts.removed;
    }
    entries.erase(targetPath);
}

}  // namespace OvxComponent
