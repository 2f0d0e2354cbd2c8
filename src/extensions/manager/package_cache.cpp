// PackageCache: records of unchanged package files, found by path and identity.
#include "extensions/manager/package_cache.h"

namespace OvxComponent {

std::unique_ptr<ExtensionContainerInfo> PackageCache::Find(const CString& path) {
    const auto found = m_entries.find(path);
    if (found == m_entries.end()) return nullptr;
    const auto identity = OvxUtils::SystemIO::File::GetIdentity(path);
    if (!identity || *identity != found->second.identity) {
        m_entries.erase(found);
        return nullptr;
    }
    found->second.used = m_generation;
    return found->second.info->Modify();
}

void PackageCache::Remember(const CString& path, const OvxUtils::SystemIO::File::FileIdentity& identity,
                            const ExtensionContainerInfo& info) {
    m_entries.insert_or_assign(path, Entry{identity, info.Modify(), m_generation});
}

void PackageCache::EndScan() {
    std::erase_if(m_entries, [this](const auto& entry) { return entry.second.used != m_generation; });
}

}  // namespace OvxComponent
