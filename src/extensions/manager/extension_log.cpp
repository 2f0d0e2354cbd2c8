// ExtensionLog.
#include "extensions/manager/extension_log.h"

#include "extensions/manager/log_timestamp.h"
#include "platform/stream/file_stream.h"

#include <algorithm>

namespace OvxComponent {

namespace {

constexpr char16_t kByteOrderMark = 0xFEFF;

}  // namespace

CString LevelText(ExtensionLogLevel level) {
    static const CString kWords[] = {u"Information", u"Warning", u"Error"};
    const auto index = static_cast<std::uint32_t>(level);
    return kWords[index < std::size(kWords) ? index : 0];
}

ExtensionLog::ExtensionLog(OvxUtils::NamedOutStream output) : m_output(std::move(output)) {
    m_ownFile = !m_output.stream && m_output.path.has_value();
}

bool ExtensionLog::OpenOutput() {
    if (m_output.stream) return true;
    if (!m_ownFile) return false;
    m_output.stream = OvxUtils::FileStream::Create(*m_output.path);
    if (!m_output.stream) return false;
    m_output.stream->Write(&kByteOrderMark, sizeof kByteOrderMark);
    return true;
}

ExtensionLogEntry& ExtensionLog::Append(ExtensionLogEntry entry) {
    auto& history = entry.name ? m_byName[*entry.name] : m_byGuid[*entry.guid];
    history.push_back(std::move(entry));
    return history.back();
}

void ExtensionLog::Output(const ExtensionLogEntry& entry) {
    if (!OpenOutput()) return;
    const std::int64_t second = entry.time / 10'000'000 - (entry.time % 10'000'000 < 0 ? 1 : 0);
    if (second != m_stampSecond) {
        m_stamp = FormatLocalTimestamp(second);
        m_stampSecond = second;
    }
    // The whole line is built first and written in one call, so that a reader of the file
    // never sees half a line.
    CString line;
    line.Reserve(m_stamp.GetLength() + entry.message.GetLength() + 96);
    line += u"[";
    line += m_stamp;
    line += u"] (";
    line += LevelText(entry.level);
    line += u"): ";
    if (entry.name) {
        line += u'"';
        line += *entry.name;
        line += u"\" ";
    }
    if (entry.guid) {
        line += entry.guid->ToString();
        line += u' ';
    }
    line += entry.message;
    line += u"\r\n";
    m_output.stream->Write(line.GetString(), static_cast<std::size_t>(line.GetLength()) * sizeof(CString::XCHAR));
}

void ExtensionLog::WriteByName(ExtensionLogLevel level, const CString& name, const CString& message) {
    const ExtensionLogEntry& entry = Append({level, LogClockNow(), name, std::nullopt, message});
    Output(entry);
    if (level == ExtensionLogLevel::Error && !m_acknowledgedNames.contains(name)) {
        m_failedNames.insert(name);
        UpdateHasFailures();
    }
}

void ExtensionLog::WriteByGuid(ExtensionLogLevel level, const OvxUtils::Guid& guid, const CString& message) {
    const ExtensionLogEntry& entry = Append({level, LogClockNow(), std::nullopt, guid, message});
    Output(entry);
    if (level == ExtensionLogLevel::Error && !m_acknowledgedGuids.contains(guid)) {
        m_failedGuids.insert(guid);
        UpdateHasFailures();
    }
}

CString ExtensionLog::Write(const NameMessage& message, const CString& name) {
    CString text(message.text);
    WriteByName(message.level, name, text);
    return text;
}

CString ExtensionLog::Write(const GuidMessage& message, const OvxUtils::Guid& guid) {
    CString text(message.text);
    WriteByGuid(message.level, guid, text);
    return text;
}

CString ExtensionLog::Error(const CString& name, const CString& text) {
    WriteByName(ExtensionLogLevel::Error, name, text);
    return text;
}

CString ExtensionLog::Warning(const CString& name, const CString& text) {
    WriteByName(ExtensionLogLevel::Warning, name, text);
    return text;
}

CString ExtensionLog::Information(const CString& name, const CString& text) {
    WriteByName(ExtensionLogLevel::Information, name, text);
    return text;
}

CString ExtensionLog::Warning(const OvxUtils::Guid& guid, const CString& text) {
    WriteByGuid(ExtensionLogLevel::Warning, guid, text);
    return text;
}

CString ExtensionLog::Information(const OvxUtils::Guid& guid, const CString& text) {
    WriteByGuid(ExtensionLogLevel::Information, guid, text);
    return text;
}

void ExtensionLog::Associate(const CString& name, const OvxUtils::Guid& guid) {
    if (m_guidsOfName[name].insert(guid).second) {
        WriteByGuid(ExtensionLogLevel::Information, guid, guid.ToString() + u" is associated with " + name);
    }
    if (m_namesOfGuid[guid].insert(name).second) {
        WriteByName(ExtensionLogLevel::Information, name, name + u" is associated with " + guid.ToString());
    }
}

std::vector<ExtensionLogEntry> ExtensionLog::EntriesFor(const CString& name) const {
    const auto found = m_byName.find(name);
    return found == m_byName.end() ? std::vector<ExtensionLogEntry>() : found->second;
}

std::vector<ExtensionLogEntry> ExtensionLog::EntriesFor(const OvxUtils::Guid& guid) const {
    const auto found = m_byGuid.find(guid);
    return found == m_byGuid.end() ? std::vector<ExtensionLogEntry>() : found->second;
}

void ExtensionLog::AcknowledgeFailures() {
    m_acknowledgedNames.merge(m_failedNames);
    m_acknowledgedGuids.merge(m_failedGuids);
    m_failedNames.clear();
    m_failedGuids.clear();
    UpdateHasFailures();
}

void ExtensionLog::UpdateHasFailures() {
    m_hasFailures.store(!m_failedNames.empty() || !m_failedGuids.empty(), std::memory_order_release);
}

}  // namespace OvxComponent
