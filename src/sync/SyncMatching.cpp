#include "SyncMatching.h"

#include <algorithm>
#include <cstdlib>

namespace Zevrin {

namespace {

struct Stray {
    SyncShot shot;
    std::size_t camera;
};

class Matcher {
  public:
    Matcher(const std::vector<SyncTimeline>& timelines, long long periodTicks)
        : m_timelines(timelines), m_periodTicks(periodTicks) {}

    std::vector<SyncSet> Match() {
        for (const SyncShot& shot : m_timelines.front().shots) {
            Open(shot, 0);
        }
        for (std::size_t camera = 1; camera < m_timelines.size(); ++camera) {
            Gather(camera);
        }
        GatherStrays();
        std::stable_sort(m_sets.begin(), m_sets.end(),
                         [](const SyncSet& left, const SyncSet& right) { return left.ticks < right.ticks; });
        return std::move(m_sets);
    }

  private:
    bool IsNear(long long left, long long right) const { return std::abs(left - right) * 2 < m_periodTicks; }

    void Open(const SyncShot& shot, std::size_t camera) {
        SyncSet set;
        set.ticks = shot.ticks;
        set.members.resize(m_timelines.size());
        Put(shot, &set.members[camera]);
        m_sets.push_back(std::move(set));
    }

    static void Put(const SyncShot& shot, SyncMember* pMember) {
        pMember->record = shot.record;
        pMember->ticks = shot.ticks;
    }

    /// Puts each image of a camera into the set that is nearest to it, and each set keeps the image that is
    /// nearest to it. Of two that are equally near the earlier one is taken.
    void Gather(std::size_t camera) {
        std::size_t nearest = 0;
        for (const SyncShot& shot : m_timelines[camera].shots) {
            while (nearest + 1 < m_sets.size() && std::abs(m_sets[nearest + 1].ticks - shot.ticks) <
                                                      std::abs(m_sets[nearest].ticks - shot.ticks)) {
                ++nearest;
            }
            if (m_sets.empty() || !IsNear(m_sets[nearest].ticks, shot.ticks)) {
                m_strays.push_back({shot, camera});
                continue;
            }
            SyncMember& member = m_sets[nearest].members[camera];
            const bool isTaken = member.record != SyncMember::kNone;
            if (isTaken && std::abs(member.ticks - m_sets[nearest].ticks) <=
                               std::abs(shot.ticks - m_sets[nearest].ticks)) {
                m_strays.push_back({shot, camera});
                continue;
            }
            if (isTaken) {
                m_strays.push_back({{member.ticks, member.record}, camera});
            }
            Put(shot, &member);
        }
    }

    /// Images that the first camera has none for still belong together.
    void GatherStrays() {
        std::stable_sort(m_strays.begin(), m_strays.end(), [](const Stray& left, const Stray& right) {
            return left.shot.ticks < right.shot.ticks;
        });
        const std::size_t first = m_sets.size();
        for (const Stray& stray : m_strays) {
            const bool joins = m_sets.size() > first && IsNear(m_sets.back().ticks, stray.shot.ticks) &&
                               m_sets.back().members[stray.camera].record == SyncMember::kNone;
            if (joins) {
                Put(stray.shot, &m_sets.back().members[stray.camera]);
            } else {
                Open(stray.shot, stray.camera);
            }
        }
    }

    const std::vector<SyncTimeline>& m_timelines;
    const long long m_periodTicks;
    std::vector<SyncSet> m_sets;
    std::vector<Stray> m_strays;
};

}  // namespace

std::vector<SyncSet> MatchSets(const std::vector<SyncTimeline>& timelines, long long periodTicks) {
    return Matcher(timelines, periodTicks).Match();
}

}  // namespace Zevrin
