#pragma once

#include <optional>
#include <string>

#include <zevrin/Property.h>

#include "CameraVerb.h"
#include "Choices.h"

namespace ZevrinTool {

/// Every property by its name, such as "white-balance".
const Choices& PropertyNames();

/// How a command line writes a property's new setting; help texts quote it.
constexpr char kPropertyValueHelp[] =
    "a value in the property's unit, such as 12.5; raw:<number>, in raw register units; auto, manual, on, "
    "off, or one-push";

/// A property's new setting.
class PropertyChange {
  public:
    /// Throws CLI::ValidationError.
    static PropertyChange Parse(const std::string& argument, const std::string& text);

    /// Changes what was read; throws `ToolFailure` when the property has no value of this kind.
    void Apply(const Zevrin::PropertyInfo& info, Zevrin::Property* pProperty) const;

  private:
    using Mode = void (*)(Zevrin::Property*);
    struct Word;
    static const Word kWords[];

    Mode m_pMode = nullptr;
    std::optional<double> m_absolute;
    std::vector<unsigned int> m_raw;
};

/// What a camera says of one property.
struct PropertyReading {
    Zevrin::PropertyInfo info;
    Zevrin::Property property;

    bool IsReadOnly() const;
    /// Red and blue of the white balance.
    bool HasSecondValue() const { return info.type == Zevrin::WHITE_BALANCE; }
};

/// Throws `ToolFailure`, with `what` before its reason.
PropertyReading ReadProperty(Zevrin::IidcCamera& camera, Zevrin::PropertyType type,
                             const std::string& what = std::string());

/// What a property can do and how it is set.
Facts Describe(const Zevrin::PropertyInfo& info, const Zevrin::Property& property);

/// "0.0125 s", or the raw value when that is all there is.
std::string ValueText(const Zevrin::PropertyInfo& info, const Zevrin::Property& property);

}  // namespace ZevrinTool
