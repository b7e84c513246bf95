#include "RegisterView.h"

#include <boost/thread/lock_guard.hpp>
#include <cmath>
#include <utility>

#include "Failure.h"
#include "FeatureTable.h"
#include "GenicamDevice.h"
#include "LineView.h"
#include "RegisterFields.h"
#include "Registers.h"
#include "StandardModes.h"
#include "TriggerView.h"

namespace Zevrin {

/// Register accesses that were asked for at once.
struct RegisterView::Run {
    explicit Run(RegisterView& owner) : view(owner), features(*owner.m_pDevice) {}

    RegisterView& view;
    DeviceFeatures features;
    std::optional<LutView> lut;  // made when the first entry is wanted

    LutView& GetLut() {
        if (!lut) {
            lut.emplace(features);
        }
        return *lut;
    }
};

/// Registers, or an array of them. `index` is the place in it.
struct RegisterView::Row {
    unsigned int offset;  ///< from the command registers
    unsigned int count;
    const char* name;
    unsigned int (*read)(Run& run, unsigned int index);
    void (*write)(Run& run, unsigned int index, unsigned int value);  ///< null: read-only
};

namespace {

constexpr unsigned int kFeatureCount = 32;  // of an inquiry register
constexpr unsigned int kModeCount = kMaxVideoMode + 1;
constexpr unsigned int kPioDirection = 0x11F8;
constexpr unsigned int kDiagnostics = 0x12E0;  // two
constexpr unsigned int kTransmitFailures = 0x12FC;
constexpr unsigned int kMeasurements = 0x1A50;  // two pairs
constexpr unsigned int kTimeStampItem = 0x1;

// Where the view puts the blocks, as offsets from the command registers.
constexpr unsigned int kAbsoluteBlocks = 0x2000;
constexpr unsigned int kAbsoluteBlockQuadlets = 4;  // the last one is not used
constexpr unsigned int kStrobeBlock = 0x2800;
constexpr unsigned int kFormat7Blocks = 0x3000;
constexpr unsigned int kFormat7BlockQuadlets = 0x20;
constexpr unsigned int kLutBlock = 0x100000;
constexpr unsigned int kMaxLutEntries = 15U << 16U;

constexpr char kContinuous[] = "Continuous";

/// What an inquiry register says of where a block is.
constexpr unsigned int ToCsr(unsigned int offset) {
    return (kUsualCommandRegisters - kUsualInitialRegisterSpace + offset) / kRegisterSize;
}

/// A register of the `index / quadlets`-th of an array of blocks, behind which stands a part of the view.
template <auto part, auto read, unsigned int quadlets, typename Run>
unsigned int ReadBlock(Run& run, unsigned int index) {
    return (run.view.*part.*read)(run.features, index / quadlets, index % quadlets * kRegisterSize);
}
template <auto part, auto write, unsigned int quadlets, typename Run>
void WriteBlock(Run& run, unsigned int index, unsigned int value) {
    (run.view.*part.*write)(run.features, index / quadlets, index % quadlets * kRegisterSize, value);
}

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

Error Explain(const Error& cause, ErrorType otherwise, unsigned int addressLow, const char* name) {
    return FailureBecause(TypeOf(cause, otherwise), cause, "Register 0xFFFF %08X (%s) could not be %s: %s",
                          addressLow, name, otherwise == ERR_READ_REGISTER_FAILED ? "read" : "written",
                          cause.GetDescription());
}

/// Transmission in the IIDC sense goes on until it is switched off, so acquisition has to be continuous.
void MakeContinuous(DeviceFeatures& features) {
    if (features.Has("AcquisitionMode")) {
        features.SetEntry("AcquisitionMode", kContinuous);
    }
}

unsigned int ReadOptionalFunctions(DeviceFeatures& features) {
    return (LineView::ReadStrobes(features) != 0 ? OptionalFunction::kStrobe : 0U) |
           (LutView::IsThere(features) ? OptionalFunction::kLut : 0U);
}

double ReadFramesLost(DeviceFeatures& features) {
    const char* const feature = features.Find(FeatureName::kFramesLost);
    return feature != nullptr ? features.GetNumber(feature) : 0;
}

}  // namespace

// The rows of GenICam features are in the tables of FeatureTable.h; here is which registers show them.
const RegisterView::Row
    RegisterView::kRows[] =
        {
            {Register::kInitialize, 1, "INITIALIZE", [](Run&, unsigned int) { return 0U; },
             [](Run& run, unsigned int, unsigned int value) {
                 if ((value & kSwitchBit) != 0) {
                     run.view.LoadUserSet(run.features, 0);
                 }
             }},
            {Register::kFormatInquiry, 1, "V_FORMAT_INQ",
             [](Run& run, unsigned int) {
                 return RegionView::IsThere(run.features) ? RegisterBit(kScalableImageFormat) : 0U;
             },
             nullptr},
            {Register::kModeInquiry, kModeCount, "V_MODE_INQ",
             [](Run& run, unsigned int format) {
                 return format == kScalableImageFormat ? RegionView::ReadModes(run.features) : 0U;
             },
             nullptr},
            {Register::kFormat7CsrInquiry, kModeCount, "V_CSR_INQ_7",
             [](Run& run, unsigned int mode) {
                 const bool isThere = (RegionView::ReadModes(run.features) & RegisterBit(mode)) != 0;
                 return isThere ? ToCsr(kFormat7Blocks + mode * kFormat7BlockQuadlets * kRegisterSize) : 0U;
             },
             nullptr},
            {Register::kBasicFunctionInquiry, 1, "BASIC_FUNC_INQ",
             [](Run& run, unsigned int) {
                 return BasicFunction::kHighestMemoryChannel.Make(
                            UserSetView::GetHighestChannel(run.features)) |
                        (ReadOptionalFunctions(run.features) != 0 ? BasicFunction::kOptionalFunctions : 0U);
             },
             nullptr},
            {Register::kFeatureHighInquiry, 1, "FEATURE_HI_INQ",
             [](Run& run, unsigned int) {
                 const unsigned int trigger = TriggerView::IsThere(run.features) ? kTriggerFeature : 0U;
                 return run.view.m_properties.ReadPresence(run.features) | trigger;
             },
             nullptr},
            {Register::kFeatureLowInquiry, 1, "FEATURE_LO_INQ", [](Run&, unsigned int) { return 0U; },
             nullptr},
            {Register::kOptionalFunctionInquiry, 1, "OPT_FUNCTION_INQ",
             [](Run& run, unsigned int) { return ReadOptionalFunctions(run.features); }, nullptr},
            {Register::kStrobeCsrInquiry, 1, "STROBE_OUTPUT_CSR_INQ",
             [](Run& run, unsigned int) {
                 return LineView::ReadStrobes(run.features) != 0 ? ToCsr(kStrobeBlock) : 0U;
             },
             nullptr},
            {Register::kLutCsrInquiry, 1, "LUT_CSR_INQ",
             [](Run& run, unsigned int) { return LutView::IsThere(run.features) ? ToCsr(kLutBlock) : 0U; },
             nullptr},
            {Register::kTriggerInquiry, 1, "TRIGGER_INQ",
             [](Run& run, unsigned int) { return TriggerView::ReadInquiry(run.features); }, nullptr},
            {Register::kHighInquiry, kFeatureCount, "inquiry register of a feature",
             [](Run& run, unsigned int bit) { return run.view.m_properties.ReadInquiry(run.features, bit); },
             nullptr},
            {Register::kLowInquiry, kFeatureCount, "inquiry register of a feature",
             [](Run&, unsigned int) { return 0U; }, nullptr},
            {Register::kCurrentFrameRate, 1, "CUR_V_FRM_RATE", [](Run&, unsigned int) { return 0U; },
             nullptr},
            {Register::kCurrentMode, 1, "CUR_V_MODE",
             [](Run& run, unsigned int) { return kVideoModeField.Make(RegionView::ReadMode(run.features)); },
             [](Run& run, unsigned int, unsigned int value) {
                 run.view.m_region.WriteMode(run.features, kVideoModeField.Get(value));
             }},
            {Register::kCurrentFormat, 1, "CUR_V_FORMAT",
             [](Run&, unsigned int) { return kVideoModeField.Make(kScalableImageFormat); },
             [](Run& run, unsigned int, unsigned int value) {
                 if (kVideoModeField.Get(value) != kScalableImageFormat) {
                     run.features.Fail(Failure(ERR_INVALID_MODE, "the camera has format 7 only."));
                 }
             }},
            {Register::kCameraPower, 1, "CAMERA_POWER", [](Run&, unsigned int) { return kSwitchBit; },
             [](Run& run, unsigned int, unsigned int value) {
                 if ((value & kSwitchBit) == 0) {
                     run.features.Fail(
                         Failure(ERR_NOT_SUPPORTED, "The camera is always on: it has no power switch."));
                 }
             }},
            {Register::kTransmission, 1, "ISO_EN",
             [](Run& run, unsigned int) {
                 return run.view.m_isTransmitting ? kTransmissionOn : kTransmissionOff;
             },
             [](Run& run, unsigned int, unsigned int value) {
                 run.view.WriteTransmission(run.features, value);
             }},
            {Register::kMemorySave, 1, "MEMORY_SAVE", [](Run&, unsigned int) { return 0U; },
             [](Run& run, unsigned int, unsigned int value) {
                 if ((value & kSwitchBit) != 0) {
                     run.view.m_userSets.Save(run.features);
                 }
             }},
            {Register::kMemorySaveChannel, 1, "MEM_SAVE_CH",
             [](Run& run, unsigned int) {
                 return kMemoryChannelField.Make(run.view.m_userSets.GetSaveChannel());
             },
             [](Run& run, unsigned int, unsigned int value) {
                 run.view.m_userSets.SetSaveChannel(kMemoryChannelField.Get(value));
             }},
            {Register::kCurrentMemoryChannel, 1, "CUR_MEM_CH",
             [](Run& run, unsigned int) {
                 return kMemoryChannelField.Make(run.view.m_userSets.GetChannel());
             },
             [](Run& run, unsigned int, unsigned int value) {
                 run.view.LoadUserSet(run.features, kMemoryChannelField.Get(value));
             }},
            {Register::kSoftwareTrigger, 1, "SOFTWARE_TRIGGER", [](Run&, unsigned int) { return 0U; },
             [](Run& run, unsigned int, unsigned int value) { TriggerView::Fire(run.features, value); }},
            {Register::kDataDepth, 1, "DATA_DEPTH",
             [](Run& run, unsigned int) { return RegionView::ReadDataDepth(run.features); }, nullptr},
            {Register::kHighAbsoluteCsrInquiry, kFeatureCount, "ABS_CSR_HI_INQ",
             [](Run& run, unsigned int bit) {
                 return run.view.m_properties.IsAbsolute(run.features, bit)
                            ? ToCsr(kAbsoluteBlocks + bit * kAbsoluteBlockQuadlets * kRegisterSize)
                            : 0U;
             },
             nullptr},
            {Register::kLowAbsoluteCsrInquiry, kFeatureCount, "ABS_CSR_LO_INQ",
             [](Run&, unsigned int) { return 0U; }, nullptr},
            {Register::kTriggerMode, 1, "TRIGGER_MODE",
             [](Run& run, unsigned int) { return TriggerView::ReadControl(run.features); },
             [](Run& run, unsigned int, unsigned int value) {
                 TriggerView::WriteControl(run.features, value);
             }},
            {Register::kHighControl, kFeatureCount, "control register of a feature",
             [](Run& run, unsigned int bit) { return run.view.m_properties.ReadControl(run.features, bit); },
             [](Run& run, unsigned int bit, unsigned int value) {
                 run.view.m_properties.WriteControl(run.features, bit, value);
             }},
            {Register::kLowControl, kFeatureCount, "control register of a feature",
             [](Run&, unsigned int) { return 0U; }, nullptr},
            {kPioDirection, 1, "PIO_DIR",
             [](Run& run, unsigned int) { return LineView::ReadDirections(run.features); },
             [](Run& run, unsigned int, unsigned int value) {
                 LineView::WriteDirections(run.features, value);
             }},
            {kDiagnostics, 2, "diagnostic register", [](Run&, unsigned int) { return 0U; }, nullptr},
            // Every image brings the camera's time along: the one item there is cannot be switched off.
            {Register::kEmbeddedInfo, 1, "embedded image information",
             [](Run&, unsigned int) { return kTimeStampItem; }, [](Run&, unsigned int, unsigned int) {}},
            {kTransmitFailures, 1, "transmit failures",
             [](Run& run, unsigned int) {
                 const double lost = ReadFramesLost(run.features) - run.view.m_framesLostBefore;
                 return static_cast<unsigned int>(std::fmod(std::fmax(lost, 0.0), 4294967296.0));
             },
             [](Run& run, unsigned int, unsigned int value) {
                 run.view.m_framesLostBefore = ReadFramesLost(run.features) - value;
             }},
            {kMeasurements, 4, "table of measurements", [](Run&, unsigned int) { return 0U; }, nullptr},
            {kAbsoluteBlocks, kFeatureCount* kAbsoluteBlockQuadlets, "absolute value",
             ReadBlock<&RegisterView::m_properties, &PropertyView::ReadAbsolute, kAbsoluteBlockQuadlets>,
             WriteBlock<&RegisterView::m_properties, &PropertyView::WriteAbsolute, kAbsoluteBlockQuadlets>},
            {kStrobeBlock + StrobeBlock::kControlInquiry, 1, "STROBE_CTRL_INQ",
             [](Run& run, unsigned int) { return LineView::ReadStrobes(run.features); }, nullptr},
            {kStrobeBlock + StrobeBlock::kInquiry, kStrobeOutputs, "STROBE_INQ",
             [](Run& run, unsigned int output) { return LineView::ReadStrobeInquiry(run.features, output); },
             nullptr},
            {kStrobeBlock + StrobeBlock::kControl, kStrobeOutputs, "STROBE_CNT",
             [](Run& run, unsigned int output) { return LineView::ReadStrobe(run.features, output); },
             [](Run& run, unsigned int output, unsigned int value) {
                 LineView::WriteStrobe(run.features, output, value);
             }},
            {kFormat7Blocks, kModeCount* kFormat7BlockQuadlets, "format 7 register",
             ReadBlock<&RegisterView::m_region, &RegionView::Read, kFormat7BlockQuadlets>,
             WriteBlock<&RegisterView::m_region, &RegionView::Write, kFormat7BlockQuadlets>},
            {kLutBlock + LutBlock::kInquiry, 1, "LUT inquiry",
             [](Run& run, unsigned int) { return LutView::ReadInquiry(run.features); }, nullptr},
            {kLutBlock + LutBlock::kControl, 1, "LUT control",
             [](Run& run, unsigned int) { return LutView::ReadControl(run.features); },
             [](Run& run, unsigned int, unsigned int value) { LutView::WriteControl(run.features, value); }},
            {kLutBlock + LutBlock::kBankStatus, 1, "LUT bank status",
             [](Run& run, unsigned int) { return LutView::ReadBankStatus(run.features); }, nullptr},
            {kLutBlock + LutBlock::kEntries, kMaxLutEntries, "LUT entry",
             [](Run& run, unsigned int index) { return run.GetLut().ReadEntry(index); },
             [](Run& run, unsigned int index, unsigned int value) { run.GetLut().WriteEntry(index, value); }},
};

RegisterView::RegisterView(boost::shared_ptr<GenicamDevice> pDevice, std::function<void()> onAcquisitionStart)
    : m_pDevice(std::move(pDevice)), m_onAcquisitionStart(std::move(onAcquisitionStart)) {}

/// The first row that has it: registers of their own stand before the arrays that they lie in.
const RegisterView::Row* RegisterView::FindRow(unsigned int addressLow, unsigned int* pIndex) {
    for (const Row& row : kRows) {
        const unsigned int distance = addressLow - kUsualCommandRegisters - row.offset;
        if (distance % kRegisterSize == 0 && distance / kRegisterSize < row.count) {
            *pIndex = distance / kRegisterSize;
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
    Run run(*this);
    for (unsigned int done = 0; done < count; ++done, addressLow += kRegisterSize) {
        unsigned int index = 0;
        const Row* const pRow = FindRow(addressLow, &index);
        if (pRow == nullptr) {
            return Failure(ERR_READ_REGISTER_FAILED,
                           "Register 0xFFFF %08X cannot be read: no feature of the camera stands for it.",
                           addressLow);
        }
        pValues[done] = pRow->read(run, index);
        if (run.features.HasFailed()) {
            return Explain(run.features.GetError(), ERR_READ_REGISTER_FAILED, addressLow, pRow->name);
        }
    }
    return Error();
}

Error RegisterView::Write(unsigned int addressLow, const unsigned int* pValues, unsigned int count) {
    if (m_pDevice->IsLost()) {
        return GenicamDevice::MakeLostError();  // without waiting for an access that will time out
    }
    boost::lock_guard<boost::recursive_mutex> lock(m_pDevice->GetAccessMutex());
    Run run(*this);
    for (unsigned int done = 0; done < count; ++done, addressLow += kRegisterSize) {
        unsigned int index = 0;
        const Row* const pRow = FindRow(addressLow, &index);
        if (pRow == nullptr || pRow->write == nullptr) {
            return Failure(ERR_WRITE_REGISTER_FAILED, "Register 0xFFFF %08X cannot be written: %s.",
                           addressLow,
                           pRow == nullptr ? "no feature of the camera stands for it" : "it is read-only");
        }
        pRow->write(run, index, pValues[done]);
        if (run.features.HasFailed()) {
            return Explain(run.features.GetError(), ERR_WRITE_REGISTER_FAILED, addressLow, pRow->name);
        }
    }
    return Error();
}

void RegisterView::LoadUserSet(DeviceFeatures& features, unsigned int channel) {
    m_userSets.Load(features, channel);
    if (!features.HasFailed()) {
        m_properties.DropWaiting();
        m_region.DropWaiting();
    }
}

/// Passed on even when transmission is known to be so already: another program, a user set or the camera
/// itself may have changed it.
void RegisterView::WriteTransmission(DeviceFeatures& features, unsigned int value) {
    const bool on = (value & kSwitchBit) != 0;
    if (on) {
        MakeContinuous(features);
        if (!features.HasFailed()) {
            m_onAcquisitionStart();
        }
    }
    features.Execute(on ? "AcquisitionStart" : "AcquisitionStop");
    if (!features.HasFailed()) {
        m_isTransmitting = on;
    }
}

}  // namespace Zevrin
