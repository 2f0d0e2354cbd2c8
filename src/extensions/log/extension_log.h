// ExtensionLog: the extension manager's log.
//
// Every entry goes at once, as one line and in one write call, to the output stream (a
// host's stream, or the manager's own UTF-16LE file "orvex_extensions.log", created on
// first use and started with a byte-order mark), and into an in-memory history kept per
// subject: a name (a path, a MIME type, "manager") or an extension's document ID. Error
// entries put their subject into the failed sets until the host acknowledges them.
//
// Names and messages carry text from packages and disks, so every line shows them escaped
// by the display rule (platform/display_text.h), and the histories keep the messages so
// escaped: one entry is one line wherever it is printed, and no package can send a terminal
// sequence. Ordinary text is shown as it is. Subject names stay as they are in the
// histories' keys, since hosts look entries up by path.
//
// Owned by the manager and written only on the host's main thread; HasFailures may also
// be asked from other threads.
#pragma once

#include "OvxComponent/extensions/log/extension_log_entry.h"
#include "OvxComponent/platform/stream/named_out_stream.h"
#include "extensions/log/extension_log_messages.h"

#include <atomic>
#include <deque>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <vector>

namespace OvxComponent {

class ExtensionLog {
public:
    // A valid stream in output is used as it is. Otherwise, when output has a path, the log
    // writes to its own file there, created (emptied) on first use and then started with
    // the byte-order mark; while it cannot be created, entries are only kept in memory.
    explicit ExtensionLog(OvxUtils::NamedOutStream output);
    ExtensionLog(const ExtensionLog&) = delete;
    ExtensionLog& operator=(const ExtensionLog&) = delete;

    // Creates the log file now if it is not open yet; true when there is a stream.
    bool OpenOutput();
    const CString& OutputName() const { return m_output.name; }

    // Each writes the message and returns it as written: escaped where it had to be.
    const CString& WriteByName(ExtensionLogLevel level, const CString& name, const CString& message);
    const CString& WriteByGuid(ExtensionLogLevel level, const OvxUtils::Guid& guid, const CString& message);

    // The fixed messages: each writes its text at its level and returns the text.
    CString Write(const NameMessage& message, const CString& name);
    CString Write(const GuidMessage& message, const OvxUtils::Guid& guid);
    // Messages of the caller's own text, at a fixed level; each returns the text as written.
    CString Error(const CString& name, const CString& text);
    CString Warning(const CString& name, const CString& text);
    CString Information(const CString& name, const CString& text);
    CString Warning(const OvxUtils::Guid& guid, const CString& text);
    CString Information(const OvxUtils::Guid& guid, const CString& text);

    // The cause of the refusal just logged under the same subject, at that line's level:
    // kReasonPrefix + cause. Nothing is written for an empty cause.
    void Reason(ExtensionLogLevel level, const CString& name, const CString& cause);
    void Reason(ExtensionLogLevel level, const OvxUtils::Guid& guid, const CString& cause);

    // Records that name and guid denote one extension; each pairing is logged once under
    // each of the two subjects.
    void Associate(const CString& name, const OvxUtils::Guid& guid);

    std::vector<ExtensionLogEntry> EntriesFor(const CString& name) const;
    std::vector<ExtensionLogEntry> EntriesFor(const OvxUtils::Guid& guid) const;

    // Subjects with an error entry that the host has not acknowledged.
    const std::set<CString>& FailedNames() const { return m_failedNames; }
    const std::set<OvxUtils::Guid>& FailedGuids() const { return m_failedGuids; }
    // Whether either failed set holds a subject; safe on any thread.
    bool HasFailures() const { return m_hasFailures.load(std::memory_order_acquire); }
    // Moves the failed subjects into the acknowledged ones: later errors of theirs no
    // longer count as failures. Histories and associations stay.
    void AcknowledgeFailures();

private:
    // An entry as a history keeps it, in 16 bytes: its subject is the history's key, and its
    // text a number in m_texts. The histories grow with every rescan for as long as the
    // manager lives, and most of their lines repeat a few texts, so each text is kept once.
    struct HistoryEntry {
        std::int64_t time;
        std::uint32_t message;
        ExtensionLogLevel level;
    };
    static_assert(sizeof(HistoryEntry) == 16);
    // A name's history, and the name as lines show it when that differs: escaped once, when
    // the name is first written, not at every line.
    struct NameHistory {
        std::deque<HistoryEntry> entries;
        std::optional<CString> shownName;
    };
    // The number under which the histories keep text, escaped.
    std::uint32_t Keep(const CString& text);
    const CString& TextOf(const HistoryEntry& entry) const { return *m_texts[entry.message]; }
    // A document ID's history, with the ID in the text form its lines show, made once.
    struct GuidHistory {
        std::deque<HistoryEntry> entries;
        CString shownGuid;
    };
    // shownName is the subject name as it is shown, shownGuid the document ID's text.
    void Output(const HistoryEntry& entry, const CString* shownName, const CString* shownGuid);
    void UpdateHasFailures();

    OvxUtils::NamedOutStream m_output;
    bool m_ownFile = false;  // the stream is ours to create, with a byte-order mark
    // Every text written so far with its number, and by number; a map's keys never move.
    std::unordered_map<CString, std::uint32_t> m_textNumbers;
    std::vector<const CString*> m_texts;
    // A deque grows without moving what it holds.
    std::unordered_map<CString, NameHistory> m_byName;
    std::unordered_map<OvxUtils::Guid, GuidHistory> m_byGuid;
    std::unordered_map<CString, std::set<OvxUtils::Guid>> m_guidsOfName;
    std::unordered_map<OvxUtils::Guid, std::set<CString>> m_namesOfGuid;
    std::set<CString> m_failedNames;
    std::set<OvxUtils::Guid> m_failedGuids;
    std::set<CString> m_acknowledgedNames;
    std::set<OvxUtils::Guid> m_acknowledgedGuids;
    std::atomic<bool> m_hasFailures{false};
    // The formatted local time of the last second written, so that entries written within
    // one second convert the time once.
    std::int64_t m_stampSecond = -1;
    CString m_stamp;
    CString::StringType m_line;  // the line being written, kept for its capacity
};

}  // namespace OvxComponent
