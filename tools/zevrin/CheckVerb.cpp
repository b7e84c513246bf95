#include "CameraVerb.h"
#include "CommandLine.h"
namespace ZevrinTool {
void AddCheckVerb(CLI::App&, Tool&) {}
}  // namespace ZevrinTool
