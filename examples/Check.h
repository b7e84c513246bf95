#pragma once

#include <zevrin/Error.h>

#include <cstdio>
#include <cstdlib>

/// Ends the program with the failure and its causes, a line each.
inline void Check(const Zevrin::Error& error) {
    if (error != Zevrin::ERR_OK) {
        std::fprintf(stderr, "%s\n", error.GetTrace().c_str());
        std::exit(EXIT_FAILURE);
    }
}
