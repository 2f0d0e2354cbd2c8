// PackageCache: records of unchanged package files, found by path and identity.
#include "extensions/manager/package_cache.h"

namespace OvxComponent {

PackageCache::Record PackageCache::Find(const CString& path, const FileIdentity& identity) {
    const auto found = m_entries.find(path);
    if (found == m_entries.end()) return {};
    if (identity != found->second.identity) {
        m_entries.erase(found);
        return {};
    }
    found->second.used = m_generation;
    return {found->second.record, found->second.trust};
}

void PackageCache::Remember(const CString& path, const FileIdentity& identity, const ExtensionContainerInfo& info,
                            Verdict trust) {
    auto record = std::make_shared<ExtensionContainer>();
    record->SetInfo(info.Modify());
    m_entries.insert_or_assign(path, Entry{identity, std::move(record), std::move(trust), m_generation});
}

void PackageCache::KeepOpened(const CString& path, const FileIdentity& identity, Opened opened) {
    m_openedPath = path;
    m_openedIdentity = identity;
    m_opened = std::move(opened);
}

PackageCache::Opened PackageCache::FindOpened(const CString& path, const FileIdentity& identity) const {
    if (!m_opened.container || m_openedPath != path || identity != m_openedIdentity) return {};
    return m_opened;
}

void PackageCache::EndScan() {
    std::erase_if(m_entries, [this](const auto& entry) { return entry.second.used != m_generation; });
    m_opened = {};
}

}  // namespace OvxComponent
