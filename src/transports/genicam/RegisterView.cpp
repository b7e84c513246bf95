#include "RegisterView.h"

#include <boost/thread/lock_guard.hpp>
#include <utility>

#include "Failure.h"
#include "GenicamDevice.h"
#include "Registers.h"

namespace Zevrin {

struct RegisterView::Row {
    unsigned int offset;  ///< from the command registers
    const char* name;
    Error (RegisterView::*read)(unsigned int* pValue);
    Error (RegisterView::*write)(unsigned int value);
};

const RegisterView::Row RegisterView::kRows[] = {
    {Register::kCameraPower, "CAMERA_POWER", &RegisterView::ReadPower, &RegisterView::WritePower},
    {Register::kTransmission, "ISO_EN", &RegisterView::ReadTransmission, &RegisterView::WriteTransmission},
};

namespace {

constexpr char kContinuous[] = "Continuous";

/// A failure keeps its own type when that says more than that the access failed.
ErrorType TypeOf(const Error& cause, ErrorType otherwise) {
    switch (cause.GetType()) {
        case ERR_TIMEOUT:
        case ERR_CAMERA_LOST:
        case ERR_ACCESS_DENIED:
            return cause.GetType();
        default:
            return otherwise;
    }
}

}  // namespace

RegisterView::RegisterView(boost::shared_ptr<GenicamDevice> pDevice, std::function<void()> onAcquisitionStart)
    : m_pDevice(std::move(pDevice)), m_onAcquisitionStart(std::move(onAcquisitionStart)) {}

RegisterBases RegisterView::GetBases() {
    return {kUsualInitialRegisterSpace, kUsualCommandRegisters};
}

const RegisterView::Row* RegisterView::FindRow(unsigned int addressLow) {
    for (const Row& row : kRows) {
        if (kUsualCommandRegisters + row.offset == addressLow) {
            return &row;
        }
    }
    return nullptr;
}

Error RegisterView::Read(unsigned int addressLow, unsigned int* pValues, unsigned int count) {
    if (m_pDevice->IsLost()) {
        return GenicamDevice::MakeLostError();  // without waiting for an access that will time out
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_pDevice->GetAccessMutex());
    for (unsigned int index = 0; index < count; ++index, addressLow += 4) {
        const Row* const pRow = FindRow(addressLow);
        if (pRow == nullptr) {
            return Failure(ERR_READ_REGISTER_FAILED,
                           "Register 0xFFFF %08X cannot be read: no feature of the camera stands for it.",
                           addressLow);
        }
        const Error error = (this->*pRow->read)(pValues + index);
        if (error != ERR_OK) {
            return FailureBecause(TypeOf(error, ERR_READ_REGISTER_FAILED), error,
                                  "Register 0xFFFF %08X (%s) could not be read: %s", addressLow, pRow->name,
                                  error.GetDescription());
        }
    }
    return Error();
}

Error RegisterView::Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) {
    if (m_pDevice->IsLost()) {
        return GenicamDevice::MakeLostError();  // without waiting for an access that will time out
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_pDevice->GetAccessMutex());
    for (unsigned int index = 0; index < count; ++index, addressLow += 4) {
        const Row* const pRow = FindRow(addressLow);
        if (pRow == nullptr) {
            return Failure(ERR_WRITE_REGISTER_FAILED,
                           "Register 0xFFFF %08X cannot be written: no feature of the camera stands for it.",
                           addressLow);
        }
        const Error error = (this->*pRow->write)(pValues[index]);
        if (error != ERR_OK) {
            return FailureBecause(TypeOf(error, ERR_WRITE_REGISTER_FAILED), error,
                                  "Register 0xFFFF %08X (%s) could not be written: %s", addressLow,
                                  pRow->name, error.GetDescription());
        }
    }
    return Error();
}

Error RegisterView::ReadPower(unsigned int* pValue) {
    *pValue = kSwitchBit;
    return Error();
}

Error RegisterView::WritePower(unsigned int value) {
    return (value & kSwitchBit) != 0
               ? Error()
               : Failure(ERR_NOT_SUPPORTED, "The camera is always on: it has no power switch.");
}

Error RegisterView::ReadTransmission(unsigned int* pValue) {
    *pValue = m_isTransmitting ? kTransmissionOn : kTransmissionOff;
    return Error();
}

/// Off is passed on even when transmission is not known to be on: another program may have left it so.
Error RegisterView::WriteTransmission(unsigned int value) {
    const bool on = (value & kSwitchBit) != 0;
    if (on && m_isTransmitting) {
        return Error();
    }
    Error error = on ? StartAcquisition() : m_pDevice->Execute("AcquisitionStop");
    if (error == ERR_OK) {
        m_isTransmitting = on;
    }
    return error;
}

/// Transmission in the IIDC sense goes on until it is switched off, so acquisition has to be continuous.
Error RegisterView::StartAcquisition() {
    std::string mode;
    if (m_pDevice->Offers("AcquisitionMode")) {
        Error error = m_pDevice->GetText("AcquisitionMode", &mode);
        if (error == ERR_OK && mode != kContinuous) {
            error = m_pDevice->SetText("AcquisitionMode", kContinuous);
        }
        if (error != ERR_OK) {
            return error;
        }
    }
    m_onAcquisitionStart();
    return m_pDevice->Execute("AcquisitionStart");
}

}  // namespace Zevrin
