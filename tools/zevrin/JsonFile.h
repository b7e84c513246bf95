#pragma once

#include <string>

#include "Output.h"

namespace ZevrinTool {

/// Reads a file of at most 16 MiB that anybody may have written. Throws `ToolFailure`, which names the file
/// and the reason.
std::string ReadTextFile(const std::string& path);

/// Reads a JSON document that anybody may have written: at most 16 MiB, at most 16 levels deep, no key twice
/// in one object. Throws `ToolFailure`, which names the file, the place in it, and what is wrong.
Json ReadJsonFile(const std::string& path);

/// For people: an indented line for each value, and lists of numbers in lines of sixteen.
std::string ToReadableText(const Json& document);

/// The same in a file, which is there whole or not at all. Throws `ToolFailure`.
void WriteJsonFile(const Json& document, const std::string& path);

}  // namespace ZevrinTool
