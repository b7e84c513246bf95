#include "DeviceFeatures.h"

#include <algorithm>
#include <boost/smart_ptr/make_shared.hpp>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "Failure.h"
#include "FormatText.h"
#include "GenicamDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaxEntries = 1024;  // of an enumeration that is looked through
constexpr double kFinestStep = 1e-12;       // of the range; what is finer is no step

bool IsOffered(ArvGcNode* pNode, GError** ppReport) {
    if (!ARV_IS_GC_FEATURE_NODE(pNode)) {
        return false;
    }
    auto* const pFeature = ARV_GC_FEATURE_NODE(pNode);
    return arv_gc_feature_node_is_implemented(pFeature, ppReport) && *ppReport == nullptr &&
           arv_gc_feature_node_is_available(pFeature, ppReport) && *ppReport == nullptr;
}

/// Enumerations have integer values, but are no numbers.
bool IsIntegerNode(ArvGcNode* pNode) {
    return ARV_IS_GC_INTEGER(pNode) && !ARV_IS_GC_ENUMERATION(pNode) && !ARV_IS_GC_BOOLEAN(pNode);
}

bool IsNumberNode(ArvGcNode* pNode) {
    return ARV_IS_GC_FEATURE_NODE(pNode) && (IsIntegerNode(pNode) || ARV_IS_GC_FLOAT(pNode));
}

double ReadNumber(ArvGcNode* pNode, GError** ppReport) {
    return IsIntegerNode(pNode)
               ? static_cast<double>(arv_gc_integer_get_value(ARV_GC_INTEGER(pNode), ppReport))
               : arv_gc_float_get_value(ARV_GC_FLOAT(pNode), ppReport);
}

/// Failures that say nothing of the feature.
bool IsOfDevice(const Error& error) {
    const ErrorType type = error.GetType();
    return type == ERR_TIMEOUT || type == ERR_CAMERA_LOST || type == ERR_ACCESS_DENIED;
}

/// False, with the report cleared, when the failure says something of the feature's description only.
bool IsDevicesFailure(GError** ppReport) {
    if (g_error_matches(*ppReport, ARV_DEVICE_ERROR, ARV_DEVICE_ERROR_TIMEOUT)) {
        return true;
    }
    g_clear_error(ppReport);
    return false;
}

/// What is not told, or not by a working description, is no limit. Aravis takes a missing one for a failure
/// here and there.
FeatureLimits ReadLimits(ArvGcNode* pNode, GError** ppReport) {
    const bool isInteger = IsIntegerNode(pNode);
    const auto read = [&](gint64 (*readInteger)(ArvGcInteger*, GError**),
                          double (*readFloat)(ArvGcFloat*, GError**), double otherwise) {
        if (*ppReport != nullptr) {
            return otherwise;
        }
        const double value = isInteger ? static_cast<double>(readInteger(ARV_GC_INTEGER(pNode), ppReport))
                                       : readFloat(ARV_GC_FLOAT(pNode), ppReport);
        const bool isTold = *ppReport == nullptr;
        return isTold || IsDevicesFailure(ppReport) ? value : otherwise;
    };
    constexpr double kNoLimit = std::numeric_limits<double>::infinity();
    FeatureLimits limits;
    limits.min = read(arv_gc_integer_get_min, arv_gc_float_get_min, -kNoLimit);
    limits.max = read(arv_gc_integer_get_max, arv_gc_float_get_max, kNoLimit);
    limits.step = read(arv_gc_integer_get_inc, arv_gc_float_get_inc, 0);
    if (isInteger) {
        limits.step = std::max(limits.step, 1.0);
    }
    // Written so that not-a-number is no limit.
    limits.isValid = limits.min <= limits.max;
    return limits;
}

}  // namespace

void DeviceFeatures::Fail(const Error& error) {
    if (!HasFailed()) {
        m_error = error;
    }
}

/// A feature that is not there has no answer but `otherwise`. A wrong description is not told from that. The
/// question owns what it works with: when the device is lost meanwhile, it is left to itself.
template <typename T>
T DeviceFeatures::Ask(const char* feature, T otherwise, Question<T> question) {
    if (HasFailed()) {
        return otherwise;
    }
    const auto pAnswer = boost::make_shared<T>(otherwise);
    const Error error =
        m_device.Request(ERR_TRANSPORT_FAILED, FormatText("Asking for the feature %s", feature),
                         [pAnswer, question = std::move(question), name = std::string(feature)](
                             ArvDevice* pDevice, GError** ppReport) {
                             ArvGcNode* const pNode = arv_device_get_feature(pDevice, name.c_str());
                             if (pNode != nullptr) {
                                 *pAnswer = question(pNode, ppReport);
                             }
                         });
    if (IsOfDevice(error)) {
        m_error = error;
        return otherwise;
    }
    return *pAnswer;
}

void DeviceFeatures::Change(const char* feature, Question<void> change) {
    if (!HasFailed() && !Has(feature)) {
        Fail(Failure(ERR_FEATURE_ABSENT, "The camera has no %s at present.", feature));
    }
    if (HasFailed()) {
        return;
    }
    m_error = m_device.Request(
        ERR_TRANSPORT_FAILED, FormatText("Access to the feature %s", feature),
        [change = std::move(change), name = std::string(feature)](ArvDevice* pDevice, GError** ppReport) {
            change(arv_device_get_feature(pDevice, name.c_str()), ppReport);
        });
}

const char* DeviceFeatures::Find(const FeatureNames& names) {
    const auto* const pFound = std::find_if(
        names.begin(), names.end(), [this](const char* name) { return name != nullptr && Has(name); });
    return pFound != names.end() ? *pFound : nullptr;
}

bool DeviceFeatures::Has(const char* feature) {
    return Ask<bool>(feature, false, IsOffered);
}

bool DeviceFeatures::TryNumber(const char* feature, double* pValue) {
    using Number = std::optional<double>;
    const Number number = Ask<Number>(feature, std::nullopt, [](ArvGcNode* pNode, GError** ppReport) {
        if (!IsNumberNode(pNode) || !IsOffered(pNode, ppReport)) {
            return Number();
        }
        const double value = ReadNumber(pNode, ppReport);
        return *ppReport == nullptr && std::isfinite(value) ? Number(value) : Number();
    });
    *pValue = number.value_or(*pValue);
    return number.has_value();
}

bool DeviceFeatures::IsInteger(const char* feature) {
    return Ask<bool>(feature, false, [](ArvGcNode* pNode, GError**) { return IsIntegerNode(pNode); });
}

bool DeviceFeatures::CanWrite(const char* feature) {
    return Ask<bool>(feature, false, [](ArvGcNode* pNode, GError** ppReport) {
        if (!ARV_IS_GC_FEATURE_NODE(pNode)) {
            return false;
        }
        auto* const pFeature = ARV_GC_FEATURE_NODE(pNode);
        return arv_gc_feature_node_get_actual_access_mode(pFeature) != ARV_GC_ACCESS_MODE_RO &&
               arv_gc_feature_node_get_imposed_access_mode(pFeature) != ARV_GC_ACCESS_MODE_RO &&
               !arv_gc_feature_node_is_locked(pFeature, ppReport);
    });
}

FeatureLimits DeviceFeatures::GetLimits(const char* feature, const FeatureLimits& widest) {
    auto limits = Ask<FeatureLimits>(feature, FeatureLimits(), [](ArvGcNode* pNode, GError** ppReport) {
        return IsNumberNode(pNode) ? ReadLimits(pNode, ppReport) : FeatureLimits();
    });
    limits.min = std::max(limits.min, widest.min);
    limits.max = std::min(limits.max, widest.max);
    limits.isValid = limits.isValid && limits.min <= limits.max && !HasFailed();
    const double range = limits.max - limits.min;
    if (!(limits.step > range * kFinestStep && limits.step <= range)) {
        limits.step = 0;
    }
    return limits;
}

double DeviceFeatures::GetNumber(const char* feature) {
    double value = 0;
    if (!HasFailed() && !TryNumber(feature, &value)) {
        Fail(Failure(ERR_FEATURE_ABSENT, "The camera's %s has no value that can be read at present.",
                     feature));
    }
    return HasFailed() ? 0 : value;
}

void DeviceFeatures::SetNumber(const char* feature, double value) {
    if (!HasFailed() && !CanWrite(feature)) {
        Fail(Failure(ERR_FEATURE_READ_ONLY, "The camera's %s cannot be written at present.", feature));
    }
    Change(feature, [value](ArvGcNode* pNode, GError** ppReport) {
        if (IsIntegerNode(pNode)) {
            arv_gc_integer_set_value(ARV_GC_INTEGER(pNode), std::llround(value), ppReport);
        } else if (ARV_IS_GC_FLOAT(pNode)) {
            arv_gc_float_set_value(ARV_GC_FLOAT(pNode), value, ppReport);
        }
    });
}

bool DeviceFeatures::GetSwitch(const char* feature) {
    return Ask<bool>(feature, false, [](ArvGcNode* pNode, GError** ppReport) {
        return ARV_IS_GC_BOOLEAN(pNode) ? arv_gc_boolean_get_value(ARV_GC_BOOLEAN(pNode), ppReport) != FALSE
                                        : ARV_IS_GC_INTEGER(pNode) &&
                                              arv_gc_integer_get_value(ARV_GC_INTEGER(pNode), ppReport) != 0;
    });
}

void DeviceFeatures::SetSwitch(const char* feature, bool isOn) {
    Change(feature, [isOn](ArvGcNode* pNode, GError** ppReport) {
        if (ARV_IS_GC_BOOLEAN(pNode)) {
            arv_gc_boolean_set_value(ARV_GC_BOOLEAN(pNode), isOn ? TRUE : FALSE, ppReport);
        } else if (ARV_IS_GC_INTEGER(pNode)) {
            arv_gc_integer_set_value(ARV_GC_INTEGER(pNode), isOn ? 1 : 0, ppReport);
        }
    });
}

/// Empty when the value is none of the entries.
std::string DeviceFeatures::GetEntry(const char* feature) {
    return Ask<std::string>(feature, std::string(), [](ArvGcNode* pNode, GError** ppReport) {
        return ARV_IS_GC_ENUMERATION(pNode)
                   ? BoundedText(arv_gc_enumeration_get_string_value(ARV_GC_ENUMERATION(pNode), ppReport))
                   : std::string();
    });
}

/// Only where it changes something: a device may not take even that at present.
void DeviceFeatures::SetEntry(const char* feature, const std::string& entry) {
    if (GetEntry(feature) == entry) {
        return;
    }
    if (!HasFailed() && (!CanWrite(feature) || !HasEntry(feature, entry.c_str()))) {
        Fail(Failure(ERR_NOT_SUPPORTED, "The camera's %s cannot become %s at present.", feature,
                     Printable(entry).c_str()));
    }
    Change(feature, [entry](ArvGcNode* pNode, GError** ppReport) {
        if (ARV_IS_GC_ENUMERATION(pNode)) {
            arv_gc_enumeration_set_string_value(ARV_GC_ENUMERATION(pNode), entry.c_str(), ppReport);
        }
    });
}

void DeviceFeatures::Execute(const char* feature) {
    Change(feature, [](ArvGcNode* pNode, GError** ppReport) {
        if (ARV_IS_GC_COMMAND(pNode)) {
            arv_gc_command_execute(ARV_GC_COMMAND(pNode), ppReport);
        }
    });
}

std::vector<FeatureEntry> DeviceFeatures::GetEntries(const char* feature) {
    using Entries = std::vector<FeatureEntry>;
    auto entries = Ask<Entries>(feature, Entries(), [](ArvGcNode* pNode, GError** ppReport) {
        Entries found;
        if (!ARV_IS_GC_ENUMERATION(pNode)) {
            return found;
        }
        const GSList* pItem = arv_gc_enumeration_get_entries(ARV_GC_ENUMERATION(pNode));
        for (unsigned int index = 0; pItem != nullptr && index < kMaxEntries; ++index) {
            auto* const pEntry = static_cast<ArvGcNode*>(pItem->data);
            if (ARV_IS_GC_ENUM_ENTRY(pEntry) && IsOffered(pEntry, ppReport)) {
                found.push_back({BoundedText(arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(pEntry))),
                                 arv_gc_enum_entry_get_value(ARV_GC_ENUM_ENTRY(pEntry), ppReport)});
            }
            if (IsDevicesFailure(ppReport)) {  // else an entry that is described wrongly is not there
                return found;
            }
            pItem = pItem->next;
        }
        return found;
    });
    // Aravis has them in an order of its own.
    std::stable_sort(entries.begin(), entries.end(),
                     [](const FeatureEntry& a, const FeatureEntry& b) { return a.value < b.value; });
    return entries;
}

bool DeviceFeatures::HasEntry(const char* feature, const char* entry) {
    const std::vector<FeatureEntry> entries = GetEntries(feature);
    return std::any_of(entries.begin(), entries.end(),
                       [entry](const FeatureEntry& one) { return one.name == entry; });
}

bool DeviceFeatures::Select(const FeatureSelector& selector) {
    if (selector.feature == nullptr || HasFailed()) {
        return true;
    }
    const auto known = m_selected.find(selector.feature);
    if (known != m_selected.end() && selector.entries[0] == known->second) {
        return true;
    }
    if (!Has(selector.feature)) {
        return true;
    }
    const std::vector<FeatureEntry> entries = GetEntries(selector.feature);
    for (const char* wanted : selector.entries) {
        const bool isThere =
            wanted != nullptr && std::any_of(entries.begin(), entries.end(),
                                             [&](const FeatureEntry& one) { return one.name == wanted; });
        if (isThere) {
            SetEntry(selector.feature, wanted);
            m_selected[selector.feature] = wanted;
            return true;
        }
    }
    return false;
}

}  // namespace Zevrin
