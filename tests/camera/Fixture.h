#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "BusMaster.h"
#include "CameraInternal.h"
#include "DcamFormat.h"
#include "EventList.h"
#include "Format7.h"
#include "Info.h"
#include "Iso.h"
#include "Lut.h"
#include "MemoryChannel.h"
#include "PropertyManager.h"
#include "Script.h"
#include "Singleton.h"
#include "Strobe.h"
#include "Trigger.h"

namespace Zevrin {

constexpr unsigned int kSerialNumber = 4711;
constexpr unsigned int kGeneration = 5;

/// A concrete camera with its inside open.
class TestCamera : public CameraInternal {
  public:
    Error Connect(unsigned int serialNumber) override {
        m_serialNumber = serialNumber;
        SetGeneration(kGeneration);
        m_bConnected = true;
        return Error();
    }
    Error Disconnect() override {
        m_bConnected = false;
        return Error();
    }
    Error StartCapture(ImageCallback, const void*) override { return Error(); }

    using CameraInternal::m_pDcamFormat;
    using CameraInternal::m_pEventList;
    using CameraInternal::m_pFormat7;
    using CameraInternal::m_pInfo;
    using CameraInternal::m_pIOBase;
    using CameraInternal::m_pIso;
    using CameraInternal::m_pLut;
    using CameraInternal::m_pMemoryChannel;
    using CameraInternal::m_pPropertyManager;
    using CameraInternal::m_pStrobe;
    using CameraInternal::m_pTrigger;
};

/// A camera that passes the guard, and an empty record of calls.
class CameraTest : public testing::Test {
  protected:
    CameraTest() {
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
        Script::Get().generations = {kGeneration};
        Script::Get().calls.clear();
    }
    ~CameraTest() override { Script::Reset(); }

    static std::vector<std::string>& Calls() { return Script::Get().calls; }
    /// Which of the camera object's files noticed it is its own affair; all say that it was this one.
    static void ExpectOwnSource(const Error& error) {
        EXPECT_STREQ(error.GetSourceFile(), "CameraInternal.cpp");
        EXPECT_GT(error.GetSourceLine(), 0);
        EXPECT_EQ(std::string(error.GetBuildDate()).size(), std::string("Oct 15 2018").size());
        EXPECT_EQ(std::string(error.GetBuildTime()).size(), std::string("22:23:22").size());
    }
    static int BusMasterHolds() { return Singleton<BusMaster>::m_iRefCount; }

    TestCamera m_camera;
};

/// How often an error was wrapped.
inline int CauseLevels(const Error& error) {
    return error.GetCause() == ERR_OK ? 0 : 1 + CauseLevels(error.GetCause());
}

/// A component's failure with a type and text that nothing else produces.
Error ComponentFailure();

/// How an operation of the camera object treats the guard and the component's result.
enum class Shape { kUnguardedPassThrough, kGuardedPassThrough, kWrapping, kDelegating, kOwnMessage };

struct Operation {
    std::string name;
    Shape shape;
    std::function<Error(CameraInternal&)> invoke;
    std::string expectedCall;                      ///< what the component is to see; empty: it varies
    std::string componentOperation;                ///< "Class::Operation"
    std::function<void(TestCamera&)> emptyHandle;  ///< takes the component away
    ErrorType failureType = ERR_OK;                ///< of kOwnMessage
    const char* failureText = nullptr;             ///< of kOwnMessage
};

/// Every operation that hands its arguments to one component.
const std::vector<Operation>& Operations();

}  // namespace Zevrin
