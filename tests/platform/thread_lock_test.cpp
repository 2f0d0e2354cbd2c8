// ThreadLock and Singleton.
#include "OvxComponent/platform/singleton.h"
#include "OvxComponent/platform/thread_lock.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace {

using namespace OvxUtils;

class Counter : public ThreadLock {
public:
    void Add() {
        WriteLock guard(*this);
        ++m_value;
    }
    long Get() const {
        ReadLock guard(*this);
        return m_value;
    }

private:
    long m_value = 0;
};

TEST(ThreadLock, GuardsAnObjectThatIsItsOwnLock) {
    Counter counter;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                counter.Add();
                (void)counter.Get();
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(counter.Get(), 40000);
}

class Registry {
public:
    static int constructed;
    int entries = 0;

private:
    friend class Singleton<Registry>;
    Registry() { ++constructed; }
};
int Registry::constructed = 0;

TEST(Singleton, CreatesOnceAndStartsAfreshAfterRelease) {
    Registry* seen = nullptr;
    std::thread([&] { seen = &Singleton<Registry>::GetInstance(); }).join();
    EXPECT_EQ(&Singleton<Registry>::GetInstance(), seen);
    EXPECT_EQ(Registry::constructed, 1);

    Singleton<Registry>::GetInstance().entries = 5;
    Singleton<Registry>::ReleaseInstance(false);
    EXPECT_FALSE(Singleton<Registry>::IsReleased());
    EXPECT_EQ(Singleton<Registry>::GetInstance().entries, 0);
    EXPECT_EQ(Registry::constructed, 2);
    Singleton<Registry>::ReleaseInstance(true);
    EXPECT_TRUE(Singleton<Registry>::IsReleased());
}

}  // namespace
