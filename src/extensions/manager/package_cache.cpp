// PackageCache: records of unchanged package files, found by path and identity.
#include "extensions/manager/package_cache.h"

namespace OvxComponent {

std::unique_ptr<ExtensionContainerInfo> PackageCache::Find(const CString& path, const FileIdentity& identity) {
    const auto found = m_entries.find(path);
    if (found == m_entries.end()) return nullptr;
    if (identity != found->second.identity) {
        m_entries.erase(found);
        return nullptr;
    }
    found->second.used = m_generation;
    return found->second.info->Modify();
}

void PackageCache::Remember(const CString& path, const FileIdentity& identity, const ExtensionContainerInfo& info) {
    m_entries.insert_or_assign(path, Entry{identity, info.Modify(), m_generation});
}

void PackageCache::KeepOpened(const CString& path, const FileIdentity& identity,
                              std::shared_ptr<ExtensionContainer> container) {
    m_opened = {path, identity, std::move(container)};
}

std::shared_ptr<ExtensionContainer> PackageCache::FindOpened(const CString& path, const FileIdentity& identity) const {
    if (!m_opened.container || m_opened.path != path || identity != m_opened.identity) return nullptr;
    return m_opened.container;
}

void PackageCache::EndScan() {
    std::erase_if(m_entries, [this](const auto& entry) { return entry.second.used != m_generation; });
    m_opened = {};
}

}  // namespace OvxComponent
