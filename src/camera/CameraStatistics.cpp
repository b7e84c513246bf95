#include "KeepAssertions.h"
// Before everything else.
#include <algorithm>
#include <array>

#include "CameraInternal.h"
#include "CameraRegisters.h"
#include "CameraShapes.h"
#include "DcamFormat.h"
#include "EventList.h"
#include "Format7.h"
#include "IOBase.h"
#include "Info.h"
#include "Iso.h"
#include "Lut.h"
#include "MemoryChannel.h"
#include "PropertyManager.h"
#include "Strobe.h"
#include "Trigger.h"
#include "zevrin/CameraStats.h"

namespace Zevrin {

// The order in which statistics visit the components: the stream first.
std::array<boost::shared_ptr<IOBase>, CameraInternal::kComponentCount> CameraInternal::StatisticsOrder()
    const {
    return {m_pIso,  m_pIOBase, m_pPropertyManager, m_pFormat7,  m_pTrigger, m_pStrobe, m_pDcamFormat,
            m_pInfo, m_pLut,    m_pMemoryChannel,   m_pEventList};
}

/// What cannot be had is passed over with a zero; only the two registers with a message of their own fail.
Error CameraInternal::GetStats(CameraStats* pStats) {
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    if (pStats == nullptr) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid camera diagnostic information parameter.");
    }
    pStats->numImagesDropped = m_pIso->GetNumOfImageDropped();
    pStats->numImagesCorrupt = m_pIso->GetNumOfImageCorrupt();
    pStats->numImagesDriverDropped = m_pIso->GetNumOfImageDriverDropped();
    pStats->numResendPacketsRequested = m_pIso->GetNumResendPacketsRequested();
    pStats->numResendPacketsReceived = m_pIso->GetNumResendPacketsReceived();
    if (m_pIso->GetPortErr(&pStats->portErrors) != ERR_OK) {
        pStats->portErrors = 0;
    }
    unsigned int value = 0;
    error = ReadRegister(kTransmitFailureRegister, &value);
    if (error != ERR_OK) {
        return MakeError(ERR_REGISTER_FAILED, error,
                         "Error reading transmit failure register of the camera.");
    }
    pStats->transmitFailures = value;
    pStats->cameraPowerUp = false;
    error = ReadRegister(kPowerRegister, &value);
    if (error != ERR_OK) {
        return MakeError(ERR_REGISTER_FAILED, error, "Error reading power register of the camera.");
    }
    pStats->cameraPowerUp = (value & kMostSignificantBit) != 0;
    GatherReadings(pStats);

    const auto components = StatisticsOrder();
    pStats->registerReadFailures = 0;
    for (const auto& pComponent : components) {
        pStats->registerReadFailures += pComponent->GetRegReadErr();
    }
    pStats->registerWriteFailures = 0;
    for (const auto& pComponent : components) {
        pStats->registerWriteFailures += pComponent->GetRegWriteErr();
    }
    TimeStamp& stamp = pStats->timeStamp;
    if (m_pIso->GetTimeStamp(&stamp) != ERR_OK) {
        stamp.seconds = 0;
        stamp.microSeconds = stamp.cycleSeconds = stamp.cycleCount = stamp.cycleOffset = 0;
    }
    return Success();
}

void CameraInternal::GatherReadings(CameraStats* pStats) {
    pStats->property17Value = 0;
    Property temperature;
    temperature.type = TEMPERATURE;
    if (GetProperty(&temperature) == ERR_OK && temperature.present) {
        pStats->property17Value = temperature.valueA;
    }
    const struct {
        unsigned int address;
        unsigned int* pValue;
    } registers[] = {{kDiagnosticRegister0, &pStats->register12E0Value},
                     {kDiagnosticRegister1, &pStats->register12E4Value}};
    for (const auto& entry : registers) {
        unsigned int value = 0;
        *entry.pValue = ReadRegister(entry.address, &value) != ERR_OK ? 0 : value;
    }
    const struct {
        unsigned int info;
        unsigned int offset;
        float* pValues;
        unsigned int* pCount;
    } tables[] = {
        {kMeasurementsAInfo, kMeasurementsAOffset, pStats->measurementsA, &pStats->numMeasurementsA},
        {kMeasurementsBInfo, kMeasurementsBOffset, pStats->measurementsB, &pStats->numMeasurementsB},
    };
    for (const auto& table : tables) {
        std::fill_n(table.pValues, CameraStats::kMaxMeasurements, 0.0F);
        // A camera may announce more entries than the record holds.
        const Error ignored = ReadRegValuesUpTo(CameraStats::kMaxMeasurements, table.info, table.offset,
                                                table.pValues, table.pCount);
        static_cast<void>(ignored);
    }
}

Error CameraInternal::ResetStats() {
    const Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    m_pIso->ResetNumOfImageDropped();
    m_pIso->ResetNumOfImageCorrupt();
    m_pIso->ResetNumOfImageDriverDropped();
    Error ignored = m_pIso->ResetNumResendPacketsRequested();
    ignored = m_pIso->ResetNumResendPacketsReceived();
    const auto components = StatisticsOrder();
    for (const auto& pComponent : components) {
        pComponent->ResetRegReadErr();
    }
    for (const auto& pComponent : components) {
        pComponent->ResetRegWriteErr();
    }
    return Conclude(WriteRegister(kTransmitFailureRegister, 0, false), ERR_REGISTER_FAILED,
                    "Error resetting transmit failure register of the camera.");
}

Error CameraInternal::GetCycleTime(TimeStamp* pTimeStamp) {
    const Error error = m_pIso->GetTimeStamp(pTimeStamp);
    return error != ERR_OK ? Wrap(error) : Success();
}

// The Bayer tile format is the stream's to know: it is written over whatever `Info` put there.
Error CameraInternal::GetCameraInfo(CameraInfo* pInfo) {
    if (pInfo == nullptr) {
        return MakeError(ERR_INVALID_PARAMETER, "Invalid camera info parameter.");
    }
    Error error = Guard(*this);
    if (error != ERR_OK) {
        return error;
    }
    error = m_pInfo->GetCameraInfo(pInfo);
    if (error != ERR_OK) {
        return Wrap(error);
    }
    error = m_pIso->GetBayerFormat(&pInfo->bayerTileFormat);
    return error != ERR_OK ? Wrap(error) : Success();
}

}  // namespace Zevrin
