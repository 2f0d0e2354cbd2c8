// Quarantine: counting crashes, keeping extensions off, releasing them, and the file.
#include "extensions/manager/quarantine.h"

#include "extensions/log/log_timestamp.h"
#include "extensions/manager/install_layout.h"
#include "platform/system_io/path.h"

#include <charconv>
#include <sstream>

namespace OvxComponent {

namespace {

namespace File = OvxUtils::SystemIO::File;

constexpr std::string_view kHeader = "ovx-quarantine 1\n";

bool ReadNumber(std::string_view& text, auto& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end == text.data()) return false;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    if (!text.empty() && text.front() == ' ') text.remove_prefix(1);
    return true;
}

}  // namespace

Quarantine::Quarantine(ExtensionLog* log, const CString& platformFolder)
    : m_log(log), m_platformFolder(platformFolder),
      m_file(InstallLayout::QuarantineFile(platformFolder)) {}

std::string Quarantine::Format(const std::map<OvxUtils::Guid, Entry>& entries) {
    std::string text(kHeader);
    for (const auto& [id, entry] : entries) {
        text += id.ToString().ToUtf8() + ' ' + std::to_string(entry.crashes) + ' ' +
                std::to_string(static_cast<std::uint32_t>(entry.call)) + ' ' + std::to_string(entry.started);
        if (entry.copy) {
            for (const std::uint64_t value :
                 {entry.copy->size, entry.copy->lastWrite, entry.copy->device, entry.copy->index, entry.copy->changeTime}) {
                text += ' ' + std::to_string(value);
            }
        }
        text += '\n';
    }
    return text;
}

std::optional<std::map<OvxUtils::Guid, Quarantine::Entry>> Quarantine::Parse(std::string_view text) {
    if (!text.starts_with(kHeader)) return std::nullopt;
    text.remove_prefix(kHeader.size());
    std::map<OvxUtils::Guid, Entry> entries;
    while (!text.empty()) {
        const std::size_t end = text.find('\n');
        if (end == std::string_view::npos) return std::nullopt;
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end + 1);
        const std::size_t space = line.find(' ');
        const auto id = OvxUtils::Guid::FromString(CString::FromUtf8(line.substr(0, space)));
        if (!id || space == std::string_view::npos) return std::nullopt;
        line.remove_prefix(space + 1);
        Entry entry;
        std::uint32_t call = 0;
        if (!ReadNumber(line, entry.crashes) || !ReadNumber(line, call) || !ReadNumber(line, entry.started)) {
            return std::nullopt;
        }
        if (entry.crashes < 1 || call < static_cast<std::uint32_t>(ExtensionCall::Load) ||
            call > static_cast<std::uint32_t>(ExtensionCall::ResourceVisit)) {
            return std::nullopt;
        }
        entry.call = static_cast<ExtensionCall>(call);
        if (!line.empty()) {
            FileIdentity copy;
            for (std::uint64_t* value : {&copy.size, &copy.lastWrite, &copy.device, &copy.index, &copy.changeTime}) {
                if (!ReadNumber(line, *value)) return std::nullopt;
            }
            if (!line.empty()) return std::nullopt;
            entry.copy = copy;
        }
        entries[*id] = entry;
    }
    return entries;
}

void Quarantine::Load() {
    if (std::exchange(m_loaded, true) || !File::Exists(m_file)) return;
    const auto text = File::ReadAllBytes(m_file);
    if (!text) return;
    if (auto entries = Parse(*text)) m_entries = std::move(*entries);
}

void Quarantine::Save() {
    // A quarantine that cannot be written holds for this session only.
    if (m_entries.empty()) {
        File::Delete(m_file);
        return;
    }
    static_cast<void>(File::WriteAtomically(m_file, Format(m_entries)));
}

std::optional<Quarantine::FileIdentity> Quarantine::InstalledCopyOf(const OvxUtils::Guid& documentId) const {
    const auto copies = InstallLayout::ExistingCopies(InstallLayout::ExtensionFolder(m_platformFolder, documentId));
    if (copies.empty()) return std::nullopt;
    return File::GetIdentity(copies.back().installedCopy);
}

void Quarantine::RecordCrash(const InFlightCall& crash) {
    Load();
    Entry& entry = m_entries[crash.documentId];
    const auto copy = InstalledCopyOf(crash.documentId);
    if (entry.crashes > 0 && entry.copy != copy) entry.crashes = 0;  // another package crashed before
    ++entry.crashes;
    entry.call = crash.call;
    entry.started = crash.started;
    entry.copy = copy;
    if (m_log != nullptr) {
        m_log->WriteByGuid(ExtensionLogLevel::Warning, crash.documentId,
                           u"the host ended during the extension's " + CallText(crash.call) + u" call begun at " +
                               FormatLocalTimestamp(crash.started / 10'000'000));
    }
    Save();
}

std::vector<QuarantinedExtension> Quarantine::List() {
    Load();
    std::vector<QuarantinedExtension> list;
    for (const auto& [id, entry] : m_entries) {
        if (IsQuarantined(entry)) list.push_back({id, CallText(entry.call), entry.started, entry.crashes});
    }
    return list;
}

bool Quarantine::Release(const OvxUtils::Guid& documentId) {
    Load();
    const auto found = m_entries.find(documentId);
    if (found == m_entries.end()) return false;
    const bool held = IsQuarantined(found->second);
    m_entries.erase(found);
    Save();
    if (held && m_log != nullptr) m_log->WriteByGuid(ExtensionLogLevel::Information, documentId, u"released from quarantine");
    return held;
}

std::optional<CString> Quarantine::Refuse(const OvxUtils::Guid& documentId) {
    Load();
    const auto found = m_entries.find(documentId);
    if (found == m_entries.end() || !IsQuarantined(found->second)) return std::nullopt;
    if (found->second.copy != InstalledCopyOf(documentId)) {
        m_entries.erase(found);
        Save();
        if (m_log != nullptr) {
            m_log->WriteByGuid(ExtensionLogLevel::Information, documentId,
                               u"released from quarantine: its package changed");
        }
        return std::nullopt;
    }
    const Entry& entry = found->second;
    const CString dataFolder = OvxUtils::SystemIO::Path::GetParentFolder(m_platformFolder);
    const CString text = u"in quarantine: the host ended during its " + CallText(entry.call) + u" call begun at " +
                         FormatLocalTimestamp(entry.started / 10'000'000) +
                         u"; it loads again once its package changes, or once released (ovxext quarantine release "
                         u"--data \"" + dataFolder + u"\" " + documentId.ToString() + u", or by the host)";
    if (m_log == nullptr) return text;
    return m_log->WriteByGuid(ExtensionLogLevel::Error, documentId, text);
}

}  // namespace OvxComponent
