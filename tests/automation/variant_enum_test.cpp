// CEnumBase and CVariantEnum: the IEnumVARIANT contract with its deliberate differences
// (a clone starts at the first element), ownership of the elements, and the lock the
// enumerator holds on the host application.
#include "OvxComponent/automation/variant_enum.h"
#include "OvxComponent/comsupport/com_ptr.h"
#include "OvxComponent/comsupport/scoped_bstr.h"
#include "OvxComponent/comsupport/scoped_variant.h"
#include "support/counted_dispatch.h"
#include "support/fake_host_app.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

// An enumerator over 10, 20, 30 with one reference.
CComPtr<IEnumVARIANT> ThreeInts() {
    CVariantEnum* made = CVariantEnum::CreateObjectInstance();
    for (LONG value : {10, 20, 30}) {
        VARIANT v{};
        v.vt = VT_I4;
        v.lVal = value;
        made->AddVariant(v, false);
    }
    CComPtr<IEnumVARIANT> enumerator;
    enumerator.attach(made);
    return enumerator;
}

// The values a Next call copied, -1 for an element that is not VT_I4.
struct Fetch {
    HRESULT result;
    ULONG fetched;
    std::vector<LONG> values;
};

Fetch Next(IEnumVARIANT* enumerator, ULONG count, bool withFetched = true) {
    std::array<ScopedVariant, 4> items;
    Fetch out{S_OK, 99, {}};
    out.result = enumerator->Next(count, items[0].get(), withFetched ? &out.fetched : nullptr);
    for (ULONG i = 0; i < (withFetched ? out.fetched : (out.result == S_OK ? count : 0)); ++i)
        out.values.push_back(items[i].Type() == VT_I4 ? items[i].get()->lVal : -1);
    return out;
}

TEST(VariantEnum, NextCopiesWhatIsLeftAndSaysWhenItRanShort) {
    CComPtr<IEnumVARIANT> enumerator = ThreeInts();
    struct Step {
        ULONG count;
        bool withFetched;
        HRESULT result;
        std::vector<LONG> values;
    };
    const Step steps[] = {
        {0, true, S_OK, {}},
        {2, false, E_POINTER, {}},  // fetched may be left out for one element only
        {2, true, S_OK, {10, 20}},
        {2, true, S_FALSE, {30}},
        {1, false, S_FALSE, {}},
    };
    for (const Step& step : steps) {
        const Fetch fetch = Next(enumerator.get(), step.count, step.withFetched);
        EXPECT_EQ(fetch.result, step.result) << step.count;
        EXPECT_EQ(fetch.values, step.values) << step.count;
    }
    ULONG fetched = 7;
    EXPECT_EQ(enumerator->Next(1, nullptr, &fetched), E_POINTER);
}

TEST(VariantEnum, SkipResetAndCloneMoveThroughTheElements) {
    CComPtr<IEnumVARIANT> enumerator = ThreeInts();
    EXPECT_EQ(enumerator->Skip(0), S_OK);
    EXPECT_EQ(enumerator->Skip(5), S_FALSE);
    EXPECT_EQ(Next(enumerator.get(), 1).fetched, 0u);  // left at the end
    EXPECT_EQ(enumerator->Reset(), S_OK);
    EXPECT_EQ(enumerator->Skip(1), S_OK);
    EXPECT_EQ(Next(enumerator.get(), 1).values, std::vector<LONG>{20});

    // A clone starts at the first element whatever the position of its original.
    CComPtr<IEnumVARIANT> clone;
    ASSERT_EQ(enumerator->Clone(clone.put()), S_OK);
    EXPECT_EQ(Next(clone.get(), 4).values, (std::vector<LONG>{10, 20, 30}));
    EXPECT_EQ(Next(enumerator.get(), 4).values, std::vector<LONG>{30});
    EXPECT_EQ(enumerator->Clone(nullptr), E_POINTER);
}

TEST(VariantEnum, OwnsItsElementsAsItWasTold) {
    CountedDispatch adopted, shared;
    shared.AddRef();  // the caller's own reference
    adopted.AddRef();  // handed over to the enumerator
    ScopedBstr text(L"spare");
    VARIANT copied{};
    copied.vt = VT_BSTR;
    copied.bstrVal = text.get();
    {
        CComPtr<IEnumVARIANT> enumerator;
        enumerator.attach(CVariantEnum::CreateObjectInstance());
        auto* items = static_cast<CVariantEnum*>(enumerator.get());
        items->AddObject(&adopted, false);
        items->AddObject(&shared, true);
        items->AddVariant(copied, true);
        EXPECT_EQ(shared.References(), 2u);
        std::array<ScopedVariant, 3> out;
        ULONG fetched = 0;
        ASSERT_EQ(enumerator->Next(3, out[0].get(), &fetched), S_OK);
        EXPECT_NE(out[2].get()->bstrVal, text.get());
        EXPECT_EQ(std::wstring(out[2].get()->bstrVal), L"spare");
    }
    EXPECT_EQ(adopted.References() + shared.References(), 1u);  // the caller's own
    EXPECT_EQ(text.View(), L"spare");
}

TEST(VariantEnum, HoldsTheHostApplicationWhileItLives) {
    FakeHostApp app;
    ScopedHostApp registered(&app);
    {
        CComPtr<IEnumVARIANT> enumerator = ThreeInts();
        EXPECT_EQ(app.m_lockCount, 1);
        CComPtr<IEnumVARIANT> clone;
        ASSERT_EQ(enumerator->Clone(clone.put()), S_OK);
        EXPECT_EQ(app.m_lockCount, 2);
    }
    EXPECT_EQ(app.m_lockCount, 0);

    // A host that refuses the lock makes creation fail, and is not unlocked.
    app.m_lockThrows = true;
    CVariantEnum* made = reinterpret_cast<CVariantEnum*>(1);
    EXPECT_EQ(CVariantEnum::CreateObjectInstance(&made), E_OUTOFMEMORY);
    EXPECT_EQ(made, nullptr);
    EXPECT_EQ(CVariantEnum::CreateObjectInstance(nullptr), E_POINTER);
    EXPECT_EQ(app.m_unlockCalls, 2);
}

}  // namespace
