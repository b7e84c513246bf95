#pragma once

#include <vector>

#include "SyncTimeline.h"

namespace Zevrin {

/// The sets of a run, by their time. Members have their time and their record; nothing is compared yet.
/// @param periodTicks  images at least half of it apart belong to different sets; above 0
std::vector<SyncSet> MatchSets(const std::vector<SyncTimeline>& timelines, long long periodTicks);

}  // namespace Zevrin
