// SessionGate: what keeps extensions off in this session although their installers are
// there: a safe start that the host asked for (every extension off, or all but a pinned
// few), and the quarantine of the extensions that took the host down.
#pragma once

#include "extensions/loading/extension_loader.h"
#include "extensions/log/extension_log.h"
#include "extensions/manager/quarantine.h"

#include <optional>
#include <set>

namespace OvxComponent {

class SessionGate final : public LoadGate {
public:
    SessionGate(ExtensionLog& log, Quarantine& quarantine) : m_log(log), m_quarantine(quarantine) {}

    // For the rest of the manager's life only the pinned extensions load.
    void StartSafely(std::set<OvxUtils::Guid> pinned) { m_pinned = std::move(pinned); }
    bool StartedSafely() const { return m_pinned.has_value(); }

    std::optional<CString> Refuse(const OvxUtils::Guid& documentId) override {
        if (m_pinned && !m_pinned->contains(documentId)) {
            return m_log.WriteByGuid(ExtensionLogLevel::Warning, documentId,
                                     u"kept off: the host started with its extensions off for this session");
        }
        return m_quarantine.Refuse(documentId);
    }

private:
    ExtensionLog& m_log;
    Quarantine& m_quarantine;
    std::optional<std::set<OvxUtils::Guid>> m_pinned;
};

}  // namespace OvxComponent
