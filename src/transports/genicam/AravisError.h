#pragma once

#include <glib.h>

#include <string>

#include "zevrin/ErrorType.h"

namespace Zevrin {

/// Takes what an Aravis call reports, and says it in the words of this library. Reports end here.
class AravisError {
  public:
    AravisError() = default;
    ~AravisError() { g_clear_error(&m_pError); }
    AravisError(const AravisError&) = delete;
    AravisError& operator=(const AravisError&) = delete;

    /// For the last argument of one call.
    GError** Out() {
        g_clear_error(&m_pError);
        return &m_pError;
    }

    bool IsSet() const { return m_pError != nullptr; }

    /// @param otherwise  the type when the report alone does not tell it
    ErrorType GetType(ErrorType otherwise) const;

    /// The report's text, fit for a message: parts of it come from the device.
    std::string GetText() const;

  private:
    GError* m_pError = nullptr;
};

}  // namespace Zevrin
