#include "Singleton.h"

#include <gtest/gtest.h>

namespace Zevrin {
namespace {

int g_living = 0;
bool g_refuse = false;

struct Counted {
    Counted() {
        if (g_refuse) {
            throw 17;
        }
        ++g_living;
    }
    virtual ~Counted() { --g_living; }
};

using Only = Singleton<Counted>;

TEST(SingletonTest, LivesFromTheFirstAcquisitionToTheLastRelease) {
    g_refuse = true;
    EXPECT_THROW(Only::getInstance(), int);
    g_refuse = false;
    EXPECT_EQ(Only::m_iRefCount, 0) << "a constructor that throws leaves nothing behind";
    EXPECT_EQ(Only::m_pInstance, nullptr);
    Counted* const pFirst = Only::getInstance();
    EXPECT_EQ(Only::getInstance(), pFirst);
    EXPECT_EQ(Only::m_iRefCount, 2);
    Only::releaseInstance();
    EXPECT_EQ(g_living, 1);
    Only::releaseInstance();
    EXPECT_EQ(g_living, 0);
    EXPECT_EQ(Only::m_pInstance, nullptr);
}

TEST(SingletonTest, CountsReleasesThatNothingWasAcquiredFor) {
    Only::releaseInstance();
    EXPECT_EQ(Only::m_iRefCount, -1);
    EXPECT_NE(Only::getInstance(), nullptr);
    EXPECT_EQ(Only::m_iRefCount, 0);
    EXPECT_EQ(g_living, 1) << "at 0 by an acquisition nothing is deleted";
    Only::getInstance();
    Only::releaseInstance();
    EXPECT_EQ(Only::m_iRefCount, 0);
    EXPECT_EQ(g_living, 0);
}

}  // namespace
}  // namespace Zevrin
