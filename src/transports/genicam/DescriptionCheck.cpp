#include "DescriptionCheck.h"

#include <arv.h>

#include <algorithm>
#include <cctype>
#include <string>
#include <unordered_map>

#include "Failure.h"
#include "FormatText.h"
#include "GenicamDevice.h"

namespace Zevrin {

namespace {

constexpr unsigned int kMaxHeight = 200;    // references from one node to the next
constexpr unsigned int kMaxCost = 100000;   // nodes that are worked out for one value
constexpr unsigned int kConverterCost = 4;  // Aravis finds out limits twice for each limit of a converter

/// References that Aravis follows only to find out what to forget or to list.
constexpr const char* kHarmless[] = {"pSelected", "pInvalidator", "pFeature", "pPort"};

class Check {
  public:
    explicit Check(ArvGc* pDescription) : m_pDescription(pDescription) {}

    /// Visits every node with a name below this one.
    void VisitAll(ArvDomNode* pNode) {
        for (ArvDomNode* pChild = arv_dom_node_get_first_child(pNode); pChild != nullptr && m_fault.empty();
             pChild = arv_dom_node_get_next_sibling(pChild)) {
            if (ARV_IS_GC_FEATURE_NODE(pChild)) {
                Visit(pChild, 0);
            }
            VisitAll(pChild);
        }
    }

    const std::string& GetFault() const { return m_fault; }

  private:
    struct Weight {
        bool isDone = false;
        unsigned int height = 0;
        unsigned int cost = 1;
    };

    Weight Visit(ArvDomNode* pNode, unsigned int depth) {
        const auto known = m_weights.find(pNode);
        if (known != m_weights.end()) {
            if (!known->second.isDone) {
                SetFault(pNode, "comes from itself");
            }
            return known->second;
        }
        m_weights[pNode] = Weight();
        Weight weight;
        weight.isDone = true;
        AddReferences(pNode, depth, &weight);
        if (ARV_IS_GC_STRUCT_ENTRY_NODE(pNode)) {  // has the address of what it is in
            AddReferences(arv_dom_node_get_parent_node(pNode), depth, &weight);
        }
        if (weight.height > kMaxHeight || weight.cost > kMaxCost) {
            SetFault(pNode, "comes from too many others");
        }
        m_weights[pNode] = weight;
        return weight;
    }

    /// Of the node's own properties and those of its parts, such as the entries of an enumeration.
    void AddReferences(ArvDomNode* pNode, unsigned int depth, Weight* pWeight) {
        if (depth > kMaxHeight) {
            SetFault(pNode, "comes from too many others");
        }
        const unsigned int factor = ARV_IS_GC_CONVERTER(pNode) ? kConverterCost : 1;
        for (ArvDomNode* pChild = arv_dom_node_get_first_child(pNode); pChild != nullptr && m_fault.empty();
             pChild = arv_dom_node_get_next_sibling(pChild)) {
            ArvDomNode* const pTarget = FindTarget(pChild);
            if (pTarget != nullptr) {
                const Weight target = Visit(pTarget, depth + 1);
                pWeight->height = std::max(pWeight->height, target.height + 1);
                pWeight->cost = std::min(pWeight->cost + factor * target.cost, kMaxCost + 1);
            } else if (ARV_IS_GC_ENUM_ENTRY(pChild)) {
                AddReferences(pChild, depth + 1, pWeight);
            }
        }
    }

    /// What a property refers to; null when it is no reference or leads nowhere.
    ArvDomNode* FindTarget(ArvDomNode* pProperty) const {
        if (!ARV_IS_GC_PROPERTY_NODE(pProperty)) {
            return nullptr;
        }
        const std::string name = arv_dom_node_get_node_name(pProperty);
        const bool isReference =
            name.size() > 1 && name[0] == 'p' && std::isupper(name[1]) != 0 &&
            std::find(std::begin(kHarmless), std::end(kHarmless), name) == std::end(kHarmless);
        ArvDomNode* const pText = isReference ? arv_dom_node_get_first_child(pProperty) : nullptr;
        if (pText == nullptr || !ARV_IS_DOM_CHARACTER_DATA(pText)) {
            return nullptr;
        }
        ArvGcNode* const pTarget =
            arv_gc_get_node(m_pDescription, arv_dom_character_data_get_data(ARV_DOM_CHARACTER_DATA(pText)));
        return pTarget != nullptr ? ARV_DOM_NODE(pTarget) : nullptr;
    }

    void SetFault(ArvDomNode* pNode, const char* fault) {
        const char* const name = ARV_IS_GC_FEATURE_NODE(pNode)
                                     ? arv_gc_feature_node_get_name(ARV_GC_FEATURE_NODE(pNode))
                                     : nullptr;
        if (m_fault.empty()) {
            m_fault = Printable(name != nullptr ? name : "a part") + " " + fault;
        }
    }

    ArvGc* const m_pDescription;
    std::unordered_map<ArvDomNode*, Weight> m_weights;
    std::string m_fault;
};

}  // namespace

std::string FindDescriptionFault(ArvGc* pDescription) {
    Check check(pDescription);
    check.VisitAll(ARV_DOM_NODE(pDescription));
    return check.GetFault();
}

Error CheckDescription(GenicamDevice& device) {
    std::string fault;
    const Error error = device.Access(ERR_INVALID_DESCRIPTION, "Looking through the camera's description",
                                      [&](ArvDevice* pDevice, GError**) {
                                          ArvGc* const pDescription = arv_device_get_genicam(pDevice);
                                          if (ARV_IS_GC(pDescription)) {
                                              fault = FindDescriptionFault(pDescription);
                                          }
                                      });
    if (error == ERR_OK && !fault.empty()) {
        return Failure(ERR_INVALID_DESCRIPTION, "The camera's description of itself cannot be used: %s.",
                       fault.c_str());
    }
    return error;
}

}  // namespace Zevrin
