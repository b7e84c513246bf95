#pragma once

// What nearly every test needs.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "zevrin/Error.h"

namespace Zevrin {

/// Asks until the condition holds. False after a time that no working machine comes near.
template <typename Condition>
bool Await(const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline testing::AssertionResult IsOk(const Error& error) {
    return error == ERR_OK ? testing::AssertionSuccess() : testing::AssertionFailure() << error.GetTrace();
}

/// Whether an error is of this type, and its text has this part.
inline testing::AssertionResult SaysPart(const Error& error, ErrorType type, const std::string& part) {
    return error == type && std::string(error.GetDescription()).find(part) != std::string::npos
               ? testing::AssertionSuccess()
               : testing::AssertionFailure() << "not '" << part << "' but " << error.GetTrace();
}

}  // namespace Zevrin
