// CTypeLib and CTypeLibMap on the real test type library, with an injecting library for
// the failures real libraries never show.
#include "injecting_type_lib.h"
#include "test_typelibs.h"

#include "OvxComponent/automation/type_info.h"
#include "OvxComponent/automation/type_lib.h"
#include "OvxComponent/comsupport/scoped_bstr.h"

#include <gtest/gtest.h>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

// The name a type info gives itself.
std::wstring NameOf(ITypeInfo* info) {
    ScopedBstr name;
    if (!info || FAILED(info->GetDocumentation(MEMBERID_NIL, name.put(), nullptr, nullptr, nullptr))) return L"";
    return std::wstring(name.View());
}

class TypeLibTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u) << "a test left a wrapper behind"; }

    CComPtr<ITypeLib> m_real = LoadTestTypeLib(1);
};

TEST_F(TypeLibTest, OneWrapperPerTypeLibPointerUntilItsLastRelease) {
    ASSERT_TRUE(m_real);
    InjectingTypeLib injecting(m_real);
    CTypeLib* first = TypeLibMap().GetMapEntry(&injecting);
    CTypeLib* second = TypeLibMap().GetMapEntry(&injecting);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->GetRefCount(), 2u);
    EXPECT_EQ(injecting.References(), 1u);

    first->Release();
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 1u);
    second->Release();
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u);
    EXPECT_EQ(injecting.References(), 0u);

    CTypeLib* again = TypeLibMap().GetMapEntry(&injecting);
    EXPECT_EQ(again->GetRefCount(), 1u);
    again->Release();
}

TEST_F(TypeLibTest, TypeInfoIsSharedPerGuidAndKeepsItsLibraryAlive) {
    InjectingTypeLib injecting(m_real);
    CTypeLib* lib = TypeLibMap().GetMapEntry(&injecting);
    CTypeInfo* first = nullptr;
    CTypeInfo* second = nullptr;
    ASSERT_EQ(lib->GetTypeInfo(IID_IGadget, &first), S_OK);
    ASSERT_EQ(lib->GetTypeInfo(IID_IGadget, &second), S_OK);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->GetRefCount(), 2u);
    EXPECT_EQ(injecting.m_typeInfoOfGuidCalls, 1);
    EXPECT_EQ(lib->GetRefCount(), 2u);  // the caller's and the CTypeInfo's

    lib->Release();
    first->Release();
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 1u);
    second->Release();  // the last CTypeInfo takes the library with it
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u);
    EXPECT_EQ(injecting.References(), 0u);
}

TEST_F(TypeLibTest, FailuresToMakeATypeInfoAreReturnedAndNotCached) {
    InjectingTypeLib injecting(m_real);
    CTypeLib* lib = TypeLibMap().GetMapEntry(&injecting);
    CTypeInfo* info = reinterpret_cast<CTypeInfo*>(1);  // untouched on failure

    injecting.m_typeInfoOfGuidResult = E_OUTOFMEMORY;
    EXPECT_EQ(lib->GetTypeInfo(IID_IGadget, &info), E_OUTOFMEMORY);
    EXPECT_EQ(info, reinterpret_cast<CTypeInfo*>(1));
    injecting.m_typeInfoOfGuidResult = S_OK;
    ASSERT_EQ(lib->GetTypeInfo(IID_IGadget, &info), S_OK);  // the failure was not remembered
    info->Release();
    lib->Release();

    CTypeLib* empty = TypeLibMap().GetMapEntry(nullptr);
    EXPECT_EQ(empty->GetTypeInfo(IID_IGadget, &info), E_FAIL);
    EXPECT_FALSE(empty->FindTypeInfoByName(L"MyClass", TKIND_COCLASS));
    empty->Release();
}

TEST_F(TypeLibTest, FindTypeInfoByNameIgnoresCaseAndRemembersOnlyHits) {
    InjectingTypeLib injecting(m_real);
    CTypeLib* lib = TypeLibMap().GetMapEntry(&injecting);

    CComPtr<ITypeInfo> found = lib->FindTypeInfoByName(L"MYCLASS", TKIND_COCLASS);
    EXPECT_EQ(NameOf(found.get()), L"MyClass");
    const int scans = injecting.m_typeInfoCountCalls;
    EXPECT_EQ(lib->FindTypeInfoByName(L"myclass", TKIND_COCLASS), found);
    EXPECT_EQ(injecting.m_typeInfoCountCalls, scans) << "a hit must be answered from the cache";

    // The right name of the wrong kind, and a kind no type has, are misses; each asks
    // the library again.
    for (const TYPEKIND kind : {TKIND_INTERFACE, TKIND_UNION, TKIND_UNION}) EXPECT_FALSE(lib->FindTypeInfoByName(L"MyClass", kind));
    EXPECT_EQ(injecting.m_typeInfoCountCalls, scans + 3);
    lib->Release();
}

TEST_F(TypeLibTest, AMatchThatCannotBeOpenedDoesNotEndTheSearch) {
    UINT myClass = 0, gadget = 0;
    for (UINT i = 0; i < m_real->GetTypeInfoCount(); ++i) {
        ScopedBstr name;
        m_real->GetDocumentation(static_cast<INT>(i), name.put(), nullptr, nullptr, nullptr);
        if (name.View() == L"MyClass") myClass = i;
        if (name.View() == L"IGadget") gadget = i;
    }
    InjectingTypeLib injecting(m_real);
    injecting.m_entries = {{{TKIND_COCLASS, L"Other", static_cast<int>(gadget)},
                            {TKIND_COCLASS, L"MyClass", -1},
                            {TKIND_INTERFACE, L"MyClass", static_cast<int>(gadget)},
                            {TKIND_COCLASS, L"MYCLASS", static_cast<int>(myClass)}}};
    CTypeLib* lib = TypeLibMap().GetMapEntry(&injecting);
    EXPECT_EQ(NameOf(lib->FindTypeInfoByName(L"myClass", TKIND_COCLASS).get()), L"MyClass");

    injecting.m_entries->clear();
    EXPECT_FALSE(lib->FindTypeInfoByName(L"Other", TKIND_COCLASS)) << "an empty library";
    lib->Release();
}

TEST_F(TypeLibTest, ReleasingTheMapInstanceLeavesItsWrappersAlone) {
    InjectingTypeLib injecting(m_real);
    CTypeLib* lib = TypeLibMap().GetMapEntry(&injecting);

    OvxUtils::Singleton<CTypeLibMap>::ReleaseInstance(false);
    EXPECT_FALSE(OvxUtils::Singleton<CTypeLibMap>::IsReleased());
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u);
    EXPECT_EQ(injecting.References(), 1u);
    EXPECT_EQ(lib->GetRefCount(), 1u);

    // A fresh map makes a fresh wrapper; the old one still works and goes on its release.
    CTypeLib* fresh = TypeLibMap().GetMapEntry(&injecting);
    EXPECT_NE(fresh, lib);
    fresh->Release();
    lib->Release();
    EXPECT_EQ(injecting.References(), 0u);
}

}  // namespace
