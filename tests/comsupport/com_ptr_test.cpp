// CComPtr: every path that takes or drops a reference, counted on a fake object.
#include "OvxComponent/comsupport/com_ptr.h"
#include "support/counted_dispatch.h"

#include <gtest/gtest.h>

#include <utility>

namespace {

using OvxComponent::CComPtr;
using OvxTest::CountedDispatch;

// Fills an out-parameter with a new reference, as a COM call does.
void Hand(CountedDispatch& object, IDispatch** out) {
    object.AddRef();
    *out = &object;
}

TEST(CComPtr, CopiesTakeReferencesMovesDoNotAndPutReleasesWhatItHeld) {
    CountedDispatch object;
    CComPtr<IDispatch> original(&object);
    EXPECT_EQ(object.References(), 1u);
    CComPtr<IDispatch> copy = original;
    EXPECT_EQ(object.References(), 2u);
    CComPtr<IDispatch> moved = std::move(copy);
    moved = original;  // the same object again
    EXPECT_EQ(object.References(), 2u);
    moved = nullptr;
    EXPECT_EQ(object.References(), 1u);

    IDispatch* handedOut = nullptr;
    EXPECT_EQ(original.CopyTo(&handedOut), S_OK);
    EXPECT_EQ(object.References(), 2u);
    handedOut->Release();
    original.attach(original.detach());  // adopts without a new reference
    EXPECT_EQ(object.References(), 1u);
    original.reset();
    EXPECT_EQ(object.References(), 0u);

    CountedDispatch second;
    {
        CComPtr<IDispatch> pointer;
        Hand(object, pointer.put());
        Hand(second, pointer.put());  // the same pointer filled twice leaks nothing
        EXPECT_EQ(object.References(), 0u);
        EXPECT_EQ(pointer.get(), &second);
    }
    EXPECT_EQ(second.References(), 0u);
}

}  // namespace
