#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CameraInternal.h"
#include "Components.h"
#include "Singleton.h"

namespace Zevrin {

constexpr unsigned int kSerialNumber = 4710;
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

    using CameraInternal::m_pIOBase;
    using CameraInternal::m_pIso;
    using CameraInternal::m_pLut;
    using CameraInternal::m_pMemoryChannel;
    using CameraInternal::m_pPropertyManager;
    using CameraInternal::m_pStrobe;
    using CameraInternal::m_pTrigger;
};

using CallList = std::vector<std::string>;

/// How often an error was wrapped.
inline int CauseLevels(const Error& error) {
    return error.GetCause() == ERR_OK ? 0 : 1 + CauseLevels(error.GetCause());
}

/// Whether an error has this type and text, and was wrapped so often. A success has no text that matters.
inline testing::AssertionResult Says(const Error& error, ErrorType type, const std::string& text,
                                     int causeLevels = 0) {
    const bool hasText = type == ERR_OK || error.GetDescription() == text;
    if (error == type && hasText && CauseLevels(error) == causeLevels) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "not '" << text << "' but " << error.GetTrace();
}

/// A component's failure with a type and text that nothing else produces.
inline Error ComponentFailure() {
    return InternalError(17, "Component.cpp", "", "", ERR_TRIGGER_FAILED, "component %s %d", "said", 99);
}

/// A camera that passes the guard, and an empty record of calls.
class CameraTest : public testing::Test {
  protected:
    CameraTest() {
        EXPECT_EQ(m_camera.Connect(kSerialNumber), ERR_OK);
        m_script.generations = {kGeneration};
        Calls().clear();
    }
    ~CameraTest() override { m_script = Script::State(); }

    static CallList& Calls() { return Script::Get().calls; }
    static int BusMasterHolds() { return Singleton<BusMaster>::m_iRefCount; }

    Script::State& m_script = Script::Get();
    TestCamera m_camera;
};

}  // namespace Zevrin
