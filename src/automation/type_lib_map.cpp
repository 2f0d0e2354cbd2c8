// CTypeLibMap, and the one instantiation of its singleton.
#include "OvxComponent/automation/type_lib_map.h"

#include "OvxComponent/automation/type_lib.h"

#include <new>

// Exported through the declaration in the header.
template class OvxUtils::Singleton<OvxComponent::CTypeLibMap>;

namespace OvxComponent {

using OvxUtils::WriteLock;

CTypeLibMap::CTypeLibMap() = default;

// The wrappers still registered belong to their holders and are left alone.
CTypeLibMap::~CTypeLibMap() = default;

CTypeLib* CTypeLibMap::GetMapEntry(ITypeLib* typeLib) {
    WriteLock guard(*this);
    const auto found = m_entries.find(typeLib);
    // A wrapper whose count has reached zero is being destroyed by another thread: it is
    // replaced here, and removes only its own entry when it goes.
    if (found != m_entries.end() && found->second->TryAddRef()) return found->second;

    CTypeLib* created = new (std::nothrow) CTypeLib(typeLib);
    if (!created) return nullptr;
    try {
        m_entries.insert_or_assign(typeLib, created);
    } catch (const std::bad_alloc&) {
        delete created;
        return nullptr;
    }
    created->AddRef();
    return created;
}

void CTypeLibMap::RemoveMapEntry(ITypeLib* typeLib) {
    WriteLock guard(*this);
    m_entries.erase(typeLib);
}

void CTypeLibMap::RemoveMapEntry(ITypeLib* typeLib, const CTypeLib* expected) {
    WriteLock guard(*this);
    const auto found = m_entries.find(typeLib);
    if (found != m_entries.end() && found->second == expected) m_entries.erase(found);
}

std::size_t CTypeLibMap::GetEntryCount() const {
    WriteLock guard(*this);
    return m_entries.size();
}

}  // namespace OvxComponent
