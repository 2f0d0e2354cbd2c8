// CTypeLib, CTypeInfo and CTypeLibMap under several threads at once, on the real test
// type library: the wrappers are made and destroyed again and again while other threads
// ask for them.
#include "test_typelibs.h"

#include "OvxComponent/automation/type_info.h"
#include "OvxComponent/automation/type_lib.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using namespace OvxComponent;
using namespace OvxTest;

constexpr int kThreads = 4;
constexpr int kRounds = 300;

// Holds each thread at its nth arrival until every thread has arrived n times: one
// counter that only grows serves every meeting of every round.
void Meet(std::atomic<int>& arrivals, int n) {
    ++arrivals;
    while (arrivals.load() < kThreads * n) std::this_thread::yield();
}

// The ITypeLib's own count, read by a reference taken and given back.
ULONG ComReferences(ITypeLib* typeLib) {
    typeLib->AddRef();
    return typeLib->Release();
}

TEST(TypeLibThreads, WrappersComeAndGoUnderContentionWithOneTypeInfoPerGuid) {
    CComPtr<ITypeLib> real = LoadTestTypeLib(1);
    ASSERT_TRUE(real);
    const ULONG comReferences = ComReferences(real.get());
    const GUID guids[] = {IID_IGadget, IID_IGadgetParts, DIID_DGadgetState};

    // In every round all threads take the wrapper and the type infos of the same GUIDs
    // at once; between rounds every reference is dropped, so each round makes them anew
    // while threads that are late still release those of the round before.
    std::vector<CTypeInfo*> seen(kThreads * 3);
    std::atomic<int> failures{0};
    std::atomic<int> arrivals{0};
    auto worker = [&](int thread) {
        for (int round = 0; round < kRounds; ++round) {
            CTypeLib* lib = TypeLibMap().GetMapEntry(real.get());
            CTypeInfo* infos[3] = {};
            for (int g = 0; g < 3; ++g) {
                if (FAILED(lib->GetTypeInfo(guids[g], &infos[g]))) ++failures;
                seen[thread * 3 + g] = infos[g];
            }
            if (!lib->FindTypeInfoByName(round % 2 ? L"igadget" : L"IGADGET", TKIND_DISPATCH)) ++failures;
            lib->Release();
            Meet(arrivals, 2 * round + 1);  // every thread holds its type infos now
            for (int g = 0; g < 3; ++g) {
                if (seen[g] != seen[thread * 3 + g]) ++failures;  // two wrappers of one GUID
            }
            Meet(arrivals, 2 * round + 2);
            for (CTypeInfo* info : infos) info->Release();
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) threads.emplace_back(worker, t);
    for (auto& thread : threads) thread.join();

    EXPECT_EQ(failures.load(), 0);
    EXPECT_EQ(TypeLibMap().GetEntryCount(), 0u);
    EXPECT_EQ(ComReferences(real.get()), comReferences);
}

}  // namespace
