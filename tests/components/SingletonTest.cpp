#include "Singleton.h"

#include <gtest/gtest.h>

namespace Zevrin {
namespace {

int g_living = 0;
int g_created = 0;
bool g_refuse = false;

struct Counted {
    Counted() {
        if (g_refuse) {
            throw 17;
        }
        ++g_living;
        ++g_created;
    }
    virtual ~Counted() { --g_living; }
};

using Only = Singleton<Counted>;

TEST(SingletonTest, LivesFromTheFirstAcquisitionToTheLastRelease) {
    Counted* const pFirst = Only::getInstance();
    EXPECT_EQ(Only::m_iRefCount, 1);
    EXPECT_EQ(Only::getInstance(), pFirst);
    EXPECT_EQ(Only::m_iRefCount, 2);
    Only::releaseInstance();
    EXPECT_EQ(g_living, 1);
    Only::releaseInstance();
    EXPECT_EQ(g_living, 0);
    EXPECT_EQ(Only::m_pInstance, nullptr);

    const int created = g_created;
    Only::getInstance();
    EXPECT_EQ(g_created, created + 1);
    Only::releaseInstance();
}

TEST(SingletonTest, CountsReleasesThatNothingWasAcquiredFor) {
    Only::releaseInstance();
    EXPECT_EQ(Only::m_iRefCount, -1);
    EXPECT_NE(Only::getInstance(), nullptr);
    EXPECT_EQ(Only::m_iRefCount, 0);
    EXPECT_EQ(g_living, 1) << "at 0 by an acquisition nothing is deleted";
    Only::releaseInstance();
    EXPECT_EQ(Only::m_iRefCount, -1);
    EXPECT_EQ(g_living, 1);

    Only::getInstance();  // 0
    Only::getInstance();  // 1
    Only::releaseInstance();
    EXPECT_EQ(Only::m_iRefCount, 0);
    EXPECT_EQ(g_living, 0);
}

TEST(SingletonTest, AConstructorThatThrowsLeavesNothingBehind) {
    g_refuse = true;
    EXPECT_THROW(Only::getInstance(), int);
    g_refuse = false;
    EXPECT_EQ(Only::m_iRefCount, 0);
    EXPECT_EQ(Only::m_pInstance, nullptr);
    const SingletonHold<Counted> hold;  // the lock was released
    EXPECT_TRUE(hold);
    EXPECT_EQ(Only::m_iRefCount, 1);
}

}  // namespace
}  // namespace Zevrin
