// ExtensionLog: writing entries, the histories, associations and failed subjects.
#include "extensions/log/extension_log.h"

#include "extensions/log/log_timestamp.h"
#include "platform/display_text.h"
#include "platform/stream/file_stream.h"

#include <algorithm>

namespace OvxComponent {

namespace {

constexpr char16_t kByteOrderMark = 0xFEFF;
constexpr std::u16string_view kLevelWords[] = {u"Information", u"Warning", u"Error"};

std::u16string_view LevelWord(ExtensionLogLevel level) {
    const auto index = static_cast<std::uint32_t>(level);
    return kLevelWords[index < std::size(kLevelWords) ? index : 0];
}

void AppendText(CString::StringType& line, std::u16string_view text) {
    for (const char16_t unit : text) line.push_back(static_cast<CString::XCHAR>(unit));
}

void AppendCString(CString::StringType& line, const CString& text) { line.append(text.View()); }

}  // namespace

CString LevelText(ExtensionLogLevel level) { return CString(LevelWord(level)); }

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

void ExtensionLog::Output(const HistoryEntry& entry, const CString* shownName, const CString* shownGuid) {
    if (!OpenOutput()) return;
    const std::int64_t second = entry.time / 10'000'000 - (entry.time % 10'000'000 < 0 ? 1 : 0);
    if (second != m_stampSecond) {
        m_stamp = FormatLocalTimestamp(second);
        m_stampSecond = second;
    }
    // The whole line is built first and written in one call, so that a reader of the file
    // never sees half a line.
    CString::StringType& line = m_line;
    line.clear();
    const CString& message = TextOf(entry);
    line.reserve(static_cast<std::size_t>(m_stamp.GetLength() + message.GetLength() +
                                          (shownName ? shownName->GetLength() : 0)) + 64);
    AppendText(line, u"[");
    AppendCString(line, m_stamp);
    AppendText(line, u"] (");
    AppendText(line, LevelWord(entry.level));
    AppendText(line, u"): ");
    if (shownName) {
        AppendText(line, u"\"");
        AppendCString(line, *shownName);
        AppendText(line, u"\" ");
    }
    if (shownGuid) {
        AppendCString(line, *shownGuid);
        AppendText(line, u" ");
    }
    AppendCString(line, message);  // kept escaped
    AppendText(line, u"\r\n");
    m_output.stream->Write(line.data(), line.size() * sizeof(CString::XCHAR));
}

std::uint32_t ExtensionLog::Keep(const CString& text) {
    // A text kept already is found as it is: a kept text has nothing left to escape. Most
    // texts repeat, and most need no escape, so that no copy is made.
    if (const auto found = m_textNumbers.find(text); found != m_textNumbers.end()) return found->second;
    std::optional<CString> escaped;
    if (OvxUtils::DisplayText::FindEscaped(text.View()) != OvxUtils::DisplayText::kNone) {
        escaped = OvxUtils::DisplayText::Escaped(text);
    }
    const auto [found, added] =
        m_textNumbers.try_emplace(escaped ? *escaped : text, static_cast<std::uint32_t>(m_texts.size()));
    if (added) m_texts.push_back(&found->first);
    return found->second;
}

const CString& ExtensionLog::WriteByName(ExtensionLogLevel level, const CString& name, const CString& message) {
    const auto [found, added] = m_byName.try_emplace(name);
    NameHistory& history = found->second;
    if (added && OvxUtils::DisplayText::FindEscaped(name.View()) != OvxUtils::DisplayText::kNone) {
        history.shownName = OvxUtils::DisplayText::Escaped(name);
    }
    history.entries.push_back({LogClockNow(), Keep(message), level});
    Output(history.entries.back(), history.shownName ? &*history.shownName : &name, nullptr);
    if (level == ExtensionLogLevel::Error && !m_acknowledgedNames.contains(name)) {
        m_failedNames.insert(name);
        UpdateHasFailures();
    }
    return TextOf(history.entries.back());
}

const CString& ExtensionLog::WriteByGuid(ExtensionLogLevel level, const OvxUtils::Guid& guid, const CString& message) {
    const auto [found, added] = m_byGuid.try_emplace(guid);
    GuidHistory& history = found->second;
    if (added) history.shownGuid = guid.ToString();
    history.entries.push_back({LogClockNow(), Keep(message), level});
    Output(history.entries.back(), nullptr, &history.shownGuid);
    if (level == ExtensionLogLevel::Error && !m_acknowledgedGuids.contains(guid)) {
        m_failedGuids.insert(guid);
        UpdateHasFailures();
    }
    return TextOf(history.entries.back());
}

CString ExtensionLog::Write(const NameMessage& message, const CString& name) {
    return WriteByName(message.level, name, CString(message.text));
}

CString ExtensionLog::Write(const GuidMessage& message, const OvxUtils::Guid& guid) {
    return WriteByGuid(message.level, guid, CString(message.text));
}

void ExtensionLog::Reason(ExtensionLogLevel level, const CString& name, const CString& cause) {
    if (!cause.IsEmpty()) WriteByName(level, name, CString(LogMessages::kReasonPrefix) + cause);
}

void ExtensionLog::Reason(ExtensionLogLevel level, const OvxUtils::Guid& guid, const CString& cause) {
    if (!cause.IsEmpty()) WriteByGuid(level, guid, CString(LogMessages::kReasonPrefix) + cause);
}

CString ExtensionLog::Error(const CString& name, const CString& text) {
    return WriteByName(ExtensionLogLevel::Error, name, text);
}

CString ExtensionLog::Warning(const CString& name, const CString& text) {
    return WriteByName(ExtensionLogLevel::Warning, name, text);
}

CString ExtensionLog::Information(const CString& name, const CString& text) {
    return WriteByName(ExtensionLogLevel::Information, name, text);
}

CString ExtensionLog::Warning(const OvxUtils::Guid& guid, const CString& text) {
    return WriteByGuid(ExtensionLogLevel::Warning, guid, text);
}

CString ExtensionLog::Information(const OvxUtils::Guid& guid, const CString& text) {
    return WriteByGuid(ExtensionLogLevel::Information, guid, text);
}

void ExtensionLog::Associate(const CString& name, const OvxUtils::Guid& guid) {
    // The two maps are only ever filled together: a pairing known to one is known to both.
    if (!m_guidsOfName[name].insert(guid).second) return;
    WriteByGuid(ExtensionLogLevel::Information, guid, guid.ToString() + u" is associated with " + name);
    m_namesOfGuid[guid].insert(name);
    WriteByName(ExtensionLogLevel::Information, name, name + u" is associated with " + guid.ToString());
}

std::vector<ExtensionLogEntry> ExtensionLog::EntriesFor(const CString& name) const {
    std::vector<ExtensionLogEntry> entries;
    if (const auto found = m_byName.find(name); found != m_byName.end()) {
        entries.reserve(found->second.entries.size());
        for (const HistoryEntry& entry : found->second.entries) {
            entries.push_back({entry.level, entry.time, name, std::nullopt, TextOf(entry)});
        }
    }
    return entries;
}

std::vector<ExtensionLogEntry> ExtensionLog::EntriesFor(const OvxUtils::Guid& guid) const {
    std::vector<ExtensionLogEntry> entries;
    if (const auto found = m_byGuid.find(guid); found != m_byGuid.end()) {
        entries.reserve(found->second.entries.size());
        for (const HistoryEntry& entry : found->second.entries) {
            entries.push_back({entry.level, entry.time, std::nullopt, guid, TextOf(entry)});
        }
    }
    return entries;
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
