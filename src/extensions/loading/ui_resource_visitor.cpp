// UiResourceVisitor: the UI modification and resource files of loaded extensions, handed
// to the host's callbacks with their log lines.
#include "extensions/loading/ui_resource_visitor.h"

#include <set>

namespace OvxComponent {

using namespace LogMessages;

namespace {

// The extension whose files a visit hands over, when they are one extension's alone: a
// crash in the visit is then its.
std::optional<OvxUtils::Guid> OnlyOne(const std::set<OvxUtils::Guid>& contributors) {
    if (contributors.size() != 1) return std::nullopt;
    return *contributors.begin();
}

}  // namespace

bool UiResourceVisitor::VisitUiModifications(const UiModifier& visitor) const {
    m_log.Information(CString(kManagerSubject), u"visiting all ui modifications");
    std::vector<UiModification> application;
    std::vector<UiModification> user;
    std::set<OvxUtils::Guid> contributors;
    for (const auto& [documentId, record] : m_loadedExtensions) {
        if (!record.state) {
            m_log.Information(documentId, u"extension already unloaded");
            continue;
        }
        UiModificationFiles files = FindUiModifications(record.path, m_host.addonNames);
        if (files.IsEmpty()) {
            m_log.Write(kNoUiModsDetected, documentId);
            continue;
        }
        m_log.Information(documentId, u"ui mods detected, visiting");
        application.insert(application.end(), files.application.begin(), files.application.end());
        user.insert(user.end(), files.user.begin(), files.user.end());
        contributors.insert(documentId);
    }
    const auto note = m_calls.Enter(OnlyOne(contributors), ExtensionCall::UiVisit);
    return visitor(application, user, m_host.uiModificationFlag);
}

bool UiResourceVisitor::VisitResources(const ResourceLoader& visitor) const {
    m_log.Information(CString(kManagerSubject), u"visiting all resource files");
    std::vector<CString> resources;
    std::set<OvxUtils::Guid> contributors;
    for (const auto& [documentId, record] : m_loadedExtensions) {
        if (!record.state) {
            m_log.Information(documentId, u"extension already unloaded");
            continue;
        }
        const std::vector<CString> files = FindResourceFiles(record.path, m_host.addonNames);
        if (files.empty()) {
            m_log.Write(kNoResourcesDetected, documentId);
            continue;
        }
        m_log.Write(kResourcesDetected, documentId);
        resources.insert(resources.end(), files.begin(), files.end());
        contributors.insert(documentId);
    }
    const auto note = m_calls.Enter(OnlyOne(contributors), ExtensionCall::ResourceVisit);
    return visitor(resources);
}

void UiResourceVisitor::LoadResources(const OvxUtils::Guid& documentId, const CString& folder) const {
    if (!m_host.resourceLoader) {
        m_log.Information(documentId, u"loaded before resource loader installed");
    } else if (const std::vector<CString> files = FindResourceFiles(folder, m_host.addonNames); files.empty()) {
        m_log.Information(documentId, u"no resource found");
    } else if (const auto note = m_calls.Enter(documentId, ExtensionCall::ResourceVisit); m_host.resourceLoader(files)) {
        m_log.Information(documentId, u"resources loaded");
    } else {
        m_log.Write(kResourcesFailed, documentId);
    }
}

void UiResourceVisitor::ApplyUiModifications(const OvxUtils::Guid& documentId, const CString& folder) const {
    if (!m_host.uiModifier) {
        m_log.Write(kLoadedWithoutUiModifications, documentId);
    } else if (const UiModificationFiles files = FindUiModifications(folder, m_host.addonNames); files.IsEmpty()) {
        m_log.Write(kNoUiModificationsFound, documentId);
    } else if (const auto note = m_calls.Enter(documentId, ExtensionCall::UiVisit);
               m_host.uiModifier(files.application, files.user, m_host.uiModificationFlag)) {
        m_log.Write(kUiModificationsApplied, documentId);
    } else {
        m_log.Write(kUiModificationsFailed, documentId);
    }
}

bool UiResourceVisitor::HasUiModifications(const CString& folder) const {
    return !FindUiModifications(folder, m_host.addonNames).IsEmpty();
}

}  // namespace OvxComponent
