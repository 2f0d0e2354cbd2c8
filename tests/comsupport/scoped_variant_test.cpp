// ScopedVariant: what it clears, and when.
#include "OvxComponent/comsupport/scoped_variant.h"
#include "support/counted_dispatch.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using namespace OvxComponent;
using OvxTest::CountedDispatch;

VARIANT Holding(IDispatch* object) {
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_DISPATCH;
    value.pdispVal = object;
    return value;
}

TEST(ScopedVariant, ClearsWhatItOwnsOnceAcrossMovesAndGrowth) {
    CountedDispatch object;
    object.AddRef();
    {
        std::vector<ScopedVariant> items;
        items.push_back(ScopedVariant::Adopt(Holding(&object)));
        for (int i = 0; i < 20; ++i) items.push_back(ScopedVariant::Copy(*items[0].get()));
        EXPECT_EQ(object.References(), 21u);
        ScopedVariant moved = std::move(items[0]);
        EXPECT_EQ(items[0].Type(), VT_EMPTY);
        moved.put();  // clears
        EXPECT_EQ(object.References(), 20u);
    }
    EXPECT_EQ(object.References(), 0u);
}

}  // namespace
