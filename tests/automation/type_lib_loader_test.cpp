// Loading type libraries from module resources: CTypeLibResLoader and both caches, on the
// test DLL whose resources 1 and 2 are type libraries.
#include "test_typelibs.h"

#include "OvxComponent/automation/type_lib.h"

#include "second_library.h"  // generated

#include <gtest/gtest.h>


namespace {

using namespace OvxComponent;
using namespace OvxTest;

GUID LibraryId(CTypeLib* lib) {
    TLIBATTR* attr = nullptr;
    if (!lib || FAILED(lib->GetITypeLib()->GetLibAttr(&attr))) return GUID{};
    const GUID id = attr->guid;
    lib->GetITypeLib()->ReleaseTLibAttr(attr);
    return id;
}

class TypeLibLoaderTest : public ::testing::Test {
protected:
    void TearDown() override { EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u) << "a test left a wrapper behind"; }
};

TEST_F(TypeLibLoaderTest, ResourceIndexSelectsTheLibrary) {
    struct Case {
        unsigned int index;
        HRESULT result;
        GUID library;
    };
    const Case cases[] = {
        {0, S_OK, LIBID_GadgetLibrary},  // the first type library resource
        {2, S_OK, LIBID_SecondLibrary},
        {3, TYPE_E_CANTLOADLIBRARY, GUID{}},
    };
    for (const Case& c : cases) {
        CTypeLib* lib = nullptr;
        EXPECT_EQ(CTypeLibResLoader::LoadTypeLibFromResource(TypeLibModule(), c.index, &lib), c.result) << c.index;
        EXPECT_TRUE(IsEqualGUID(LibraryId(lib), c.library)) << c.index;
        if (lib) lib->Release();
    }

    CTypeLib* untouched = nullptr;
    EXPECT_EQ(CTypeLibResLoader::LoadTypeLibFromResource(nullptr, 0, &untouched), E_FAIL);
}

TEST_F(TypeLibLoaderTest, LoaderSharesTheWrapperOfTheLibraryTheSystemKeeps) {
    const TestResLoader loader;
    CTypeLib* first = nullptr;
    CTypeLib* second = nullptr;
    ASSERT_EQ(loader.GetTypeLib(&first), S_OK);
    ASSERT_EQ(loader.GetTypeLib(&second), S_OK);
    EXPECT_EQ(first, second);
    EXPECT_EQ(first->GetRefCount(), 2u);
    // The library registered the wrapper in the map that this program sees too: the one
    // map instance is shared across the module boundary.
    CTypeLib* viaMap = TypeLibMap().GetMapEntry(first->GetITypeLib());
    EXPECT_EQ(viaMap, first);
    viaMap->Release();
    first->Release();
    second->Release();
}

TEST_F(TypeLibLoaderTest, MultiCacheKeepsOneLibraryPerIndex) {
    CTypeLib* first = nullptr;
    CTypeLib* second = nullptr;
    {
        TestMultiCache cache;
        ASSERT_EQ(cache.GetTypeLib(1, &first), S_OK);
        ASSERT_EQ(cache.GetTypeLib(2, &second), S_OK);
        EXPECT_TRUE(IsEqualGUID(LibraryId(second), LIBID_SecondLibrary));
        CTypeLib* hit = nullptr;
        ASSERT_EQ(cache.GetTypeLib(2, &hit), S_OK);
        EXPECT_EQ(hit, second);
        EXPECT_EQ(second->GetRefCount(), 3u);
        hit->Release();

        EXPECT_EQ(TypeLibMap().GetEntryCount(), 2u);
    }
    EXPECT_EQ(first->GetRefCount(), 1u);
    EXPECT_EQ(second->GetRefCount(), 1u);
    first->Release();
    second->Release();
}

}  // namespace
