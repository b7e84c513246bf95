#pragma once

#include <boost/smart_ptr/shared_ptr.hpp>
#include <string>

#include "zevrin/ErrorType.h"
#include "zevrin/Export.h"

namespace Zevrin {

struct ErrorDetails;

/// The outcome of an operation: success, or a kind of failure with its message and its cause.
///
/// A value: copies are cheap and share one immutable record of the failure. Success carries no record
/// and allocates nothing.
/// Threads: distinct objects from any thread; copies of one failure may be read concurrently.
class [[nodiscard]] ZEVRIN_API Error {
  public:
    /// Success, for an `Error` that is assigned before it is read.
    Error() noexcept = default;

    ErrorType GetType() const noexcept { return m_type; }  ///< ERR_OK is success

    /// The message, null-terminated, never null; valid while this object or a copy of it lives.
    const char* GetDescription() const noexcept;

    /// The failure that led to this one; success (`ERR_OK`) when there is none.
    Error GetCause() const noexcept;

    /// Where the failure was noticed: file name without folders ("" when unknown), line, and the date and
    /// time when that part of the library was built, in the compiler's forms "Oct 15 2018" and "22:23:22".
    const char* GetSourceFile() const noexcept;
    int GetSourceLine() const noexcept;         ///< in that file
    const char* GetBuildDate() const noexcept;  ///< of that part
    const char* GetBuildTime() const noexcept;  ///< of that part

    /// The failure and its causes for a log or a person, one line each, outermost first.
    std::string GetTrace() const;

    bool operator==(const ErrorType& type) const noexcept { return m_type == type; }  ///< of this type
    bool operator!=(const ErrorType& type) const noexcept { return m_type != type; }  ///< of another

  private:
    friend class InternalError;

    ErrorType m_type = ERR_OK;
    boost::shared_ptr<const ErrorDetails> m_pDetails;
};

}  // namespace Zevrin
