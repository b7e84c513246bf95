#include "zevrin/SyncReport.h"

#include <gtest/gtest.h>

#include <functional>
#include <nlohmann/json.hpp>
#include <ostream>

namespace Zevrin {
namespace {

using Records = std::vector<SyncRecord>;

constexpr long long kCycle = 3072;
constexpr long long kSecond = 8000 * kCycle;
constexpr long long kPeriod = kSecond / 20;

SyncRecord At(unsigned int serialNumber, unsigned long long frameId, long long ticks) {
    const auto onCircle = static_cast<unsigned long long>(ticks) % (128ULL * kSecond);
    return {serialNumber, frameId, static_cast<unsigned int>(onCircle / kSecond),
            static_cast<unsigned int>(onCircle / kCycle % 8000),
            static_cast<unsigned int>(onCircle % kCycle)};
}

/// Cameras 1, 2 and 3, `offset` ticks from one to the next, their images in turn.
Records MakeRun(long long sets, long long begin, long long offset, double ppmOfThird = 0) {
    Records records;
    for (long long set = 0; set < sets; ++set) {
        const auto drift = static_cast<long long>(static_cast<double>(set * kPeriod) * ppmOfThird * 1e-6);
        for (unsigned int camera = 0; camera < 3; ++camera) {
            records.push_back(At(camera + 1, 100 + static_cast<unsigned long long>(set),
                                 begin + set * kPeriod + camera * offset + (camera == 2 ? drift : 0)));
        }
    }
    return records;
}

void Remove(Records* pRecords, unsigned int serialNumber, unsigned long long frameId) {
    for (auto record = pRecords->begin(); record != pRecords->end(); ++record) {
        if (record->serialNumber == serialNumber && record->frameId == frameId) {
            pRecords->erase(record);
            return;
        }
    }
}

/// What is expected of one camera of a run, and of the run.
struct Case {
    const char* name;
    Records records;
    std::function<void(Records*)> change;
    std::size_t camera;
    std::vector<unsigned long long> counts;  ///< lost, out of order, duplicated, missing sets
    long long worstCycles;
    double driftPpm;
    std::size_t sets;
    std::size_t completeSets;
    bool isInStep;
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << row.name;
}

const auto kNothing = [](Records*) {};

const Case kCases[] = {
    {"InStep", MakeRun(40, 0, kCycle), kNothing, 2, {0, 0, 0, 0}, 2, 0, 40, 40, true},
    {"FiveCyclesAre", MakeRun(9, 0, 5 * kCycle / 2), kNothing, 2, {0, 0, 0, 0}, 5, 0, 9, 9, true},
    // The limit is for the cycle counts, as it is when cameras are started: a part of a cycle is none.
    {"NearlySixAre", MakeRun(9, 0, 3 * kCycle - 1), kNothing, 2, {0, 0, 0, 0}, 5, 0, 9, 9, true},
    {"SixAreNot", MakeRun(9, 0, 3 * kCycle), kNothing, 2, {0, 0, 0, 0}, 6, 0, 9, 9, false},
    {"SixBeforeAreNot", MakeRun(9, kSecond, -3 * kCycle), kNothing, 2, {0, 0, 0, 0}, -6, 0, 9, 9, false},
    // The clock begins anew between two cameras of one set, and twice more in the run.
    {"Wrap",
     MakeRun(6000, 128 * kSecond - 10 * kPeriod - kCycle, kCycle),
     kNothing,
     1,
     {0, 0, 0, 0},
     1,
     0,
     6000,
     6000,
     true},
    {"BeforeTheFirstAtZero",
     MakeRun(9, 128 * kSecond, -kCycle),
     kNothing,
     2,
     {0, 0, 0, 0},
     -2,
     0,
     9,
     9,
     true},
    {"LostByOne",
     MakeRun(40, 0, kCycle),
     [](Records* p) { Remove(p, 2, 110), Remove(p, 2, 111); },
     1,
     {2, 0, 0, 2},
     1,
     0,
     40,
     38,
     true},
    {"LostByTheFirst",
     MakeRun(40, 0, kCycle),
     [](Records* p) { Remove(p, 1, 110); },
     0,
     {1, 0, 0, 1},
     0,
     0,
     40,
     39,
     true},
    {"LostWithoutNumbers",
     MakeRun(40, 0, kCycle),
     [](Records* p) {
         Remove(p, 3, 120);
         for (SyncRecord& record : *p)
             record.frameId = 0;
     },
     2,
     {1, 0, 0, 1},
     2,
     0,
     40,
     39,
     true},
    {"GapOfAHundredSeconds",
     MakeRun(3000, 0, kCycle),
     [](Records* p) {
         for (unsigned long long id = 500; id < 2500; ++id)
             Remove(p, 2, id);
     },
     1,
     {2000, 0, 0, 2000},
     1,
     0,
     3000,
     1000,
     true},
    // Longer than the clock runs before it begins anew: the numbers tell how often.
    {"GapOfTwoHundredSeconds",
     MakeRun(5000, 0, kCycle),
     [](Records* p) {
         for (unsigned long long id = 500; id < 4500; ++id)
             Remove(p, 2, id);
     },
     1,
     {4000, 0, 0, 4000},
     1,
     0,
     5000,
     1000,
     true},
    // Ahead by so much that the way back would look like the way on.
    {"OddStamp",
     MakeRun(60, kSecond, kCycle),
     [](Records* p) { (*p)[91] = At(2, 130, 101 * kSecond); },
     1,
     {1941, 0, 0, 1},
     1,
     0,
     61,
     59,
     true},
    {"OddStampWithoutNumbers",
     MakeRun(60, kSecond, kCycle),
     [](Records* p) {
         (*p)[91] = At(2, 0, 101 * kSecond);
         for (SyncRecord& record : *p)
             record.frameId = 0;
     },
     1,
     {1941, 0, 0, 1},
     1,
     0,
     61,
     59,
     true},
    {"EveryEighthBetweenTwo",
     MakeRun(40, 0, kCycle),
     [](Records* p) {
         for (std::size_t i = 1; i < 40; i += 8)
             (*p)[3 * i + 1] = At(2, 100 + i, static_cast<long long>(i) * kPeriod + kPeriod / 2);
     },
     1,
     {0, 0, 0, 5},
     1,
     0,
     45,
     35,
     false},
    {"EverySecondLostByTheFirst",
     MakeRun(40, 0, kCycle),
     [](Records* p) {
         for (unsigned long long id = 101; id < 140; id += 2)
             Remove(p, 1, id);
     },
     0,
     {19, 0, 0, 20},
     0,
     0,
     40,
     20,
     true},
    {"OutOfOrder",
     MakeRun(40, 127 * kSecond, kCycle),
     [](Records* p) { std::swap((*p)[60], (*p)[66]); },
     0,
     {0, 2, 0, 0},
     0,
     0,
     40,
     40,
     true},
    {"Duplicate",
     MakeRun(40, 0, kCycle),
     [](Records* p) { p->insert(p->begin() + 30, (*p)[31]); },
     1,
     {0, 0, 1, 0},
     1,
     0,
     40,
     40,
     true},
    // An image halfway between two of the first camera belongs to neither; of two that are equally near, the
    // earlier one is taken.
    {"Halfway",
     MakeRun(20, 0, kCycle),
     [](Records* p) { (*p)[31] = At(2, 110, 10 * kPeriod + kPeriod / 2); },
     1,
     {0, 0, 0, 1},
     1,
     0,
     21,
     19,
     true},
    {"TwoEquallyNear",
     MakeRun(20, kSecond, 0),
     [](Records* p) {
         (*p)[31] = At(2, 110, kSecond + 10 * kPeriod - kCycle);
         p->insert(p->begin() + 32, At(2, 111, kSecond + 10 * kPeriod + kCycle));
     },
     1,
     {0, 0, 0, 0},
     -1,
     -1.88,
     21,
     20,
     true},
    {"Drift", MakeRun(400, 120 * kSecond, 0, 25), kNothing, 2, {0, 0, 0, 0}, 3, 25, 400, 400, true},
    {"DriftTheOtherWay",
     MakeRun(2400, kSecond, 0, -40),
     kNothing,
     2,
     {0, 0, 0, 0},
     -39,
     -40,
     2400,
     2400,
     false},
    // Half an hour at 40 ppm is more than a frame period: pairs slip, the drift stays.
    {"DriftBeyondAPeriod",
     MakeRun(36000, 0, 0, 40),
     kNothing,
     2,
     {0, 0, 0, 2},
     -200,
     40,
     36002,
     35998,
     false},
    {"NoImage",
     MakeRun(9, 0, 0),
     [](Records* p) {
         for (unsigned long long id = 100; id < 109; ++id)
             Remove(p, 2, id);
     },
     1,
     {0, 0, 0, 9},
     0,
     0,
     9,
     0,
     false},
    {"NoStamps",
     MakeRun(9, 0, 0),
     [](Records* p) {
         for (SyncRecord& record : *p)
             record = At(record.serialNumber, record.frameId, 0);
     },
     1,
     {0, 0, 8, 0},
     0,
     0,
     1,
     1,
     false},
    {"OneImageEach", MakeRun(1, 0, kCycle), kNothing, 2, {0, 0, 0, 0}, 2, 0, 1, 1, true},
};

class Sync : public testing::TestWithParam<Case> {};

TEST_P(Sync, Reports) {
    const Case& row = GetParam();
    Records records = row.records;
    row.change(&records);
    SyncReport report;
    const Error error = AnalyzeSync({1, 2, 3}, records, &report);
    ASSERT_EQ(ERR_OK, error.GetType()) << error.GetDescription();
    const SyncCamera& camera = report.cameras[row.camera];
    EXPECT_EQ(row.counts, (std::vector<unsigned long long>{camera.lost, camera.outOfOrder, camera.duplicated,
                                                           camera.missingSets}));
    EXPECT_EQ(row.worstCycles, camera.worstCycles);
    EXPECT_NEAR(row.driftPpm, camera.driftPpm, 0.05);
    EXPECT_EQ(row.sets, report.sets.size());
    EXPECT_EQ(row.completeSets, report.completeSets);
    EXPECT_EQ(row.isInStep, report.isInStep);
    EXPECT_EQ(row.isInStep, report.reasons.empty());
    EXPECT_EQ(0, report.sets.front().ticks - report.sets.front().members[0].ticks);
}

INSTANTIATE_TEST_SUITE_P(Cases, Sync, testing::ValuesIn(kCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(SyncInput, IsNamedWhenItIsWrong) {
    Records outOfRange = MakeRun(2, 0, 0);
    outOfRange[4].cycleCount = 8000;
    const struct {
        std::vector<unsigned int> cameras;
        Records records;
        ErrorType type;
        const char* part;
    } cases[] = {
        {{}, MakeRun(1, 0, 0), ERR_INVALID_PARAMETER, "0 cameras"},
        {{1}, {}, ERR_INVALID_PARAMETER, "0 images"},
        {std::vector<unsigned int>(65), MakeRun(1, 0, 0), ERR_INVALID_PARAMETER, "65 cameras"},
        {{1, 2, 1}, MakeRun(1, 0, 0), ERR_INVALID_PARAMETER, "Camera 1 is given twice"},
        {{1, 2}, MakeRun(1, 0, 0), ERR_INVALID_PARAMETER, "Record 2 is of camera 3"},
        {{1, 2, 3}, outOfRange, ERR_VALUE_OUT_OF_RANGE, "Record 4 (camera 2, frame 101): the cycles"},
    };
    for (const auto& row : cases) {
        SyncReport report;
        const Error error = AnalyzeSync(row.cameras, row.records, &report);
        EXPECT_EQ(row.type, error.GetType()) << row.part;
        EXPECT_NE(std::string::npos, std::string(error.GetDescription()).find(row.part))
            << error.GetDescription();
        EXPECT_TRUE(report.cameras.empty());
    }
}

TEST(SyncReportFiles, HoldALongRunAndEscapeTheTitle) {
    Records records = MakeRun(100000, 0, kCycle, 1);
    Remove(&records, 3, 5000);
    SyncReport report;
    ASSERT_EQ(ERR_OK, AnalyzeSync({1, 2, 3}, records, &report).GetType());
    const auto document = nlohmann::json::parse(FormatSyncReportAsJson(report));
    EXPECT_EQ(report.isInStep, document.at("isInStep"));
    EXPECT_EQ(1, document.at("cameras").at(2).at("lost"));
    ASSERT_EQ(100000U, document.at("sets").size());
    EXPECT_TRUE(document.at("sets").at(4900).at("offsetsUs").at(2).is_null());
    EXPECT_EQ(nlohmann::json::parse("[5000, 5000, null]"), document.at("sets").at(4900).at("frames"));
    EXPECT_DOUBLE_EQ(125, document.at("sets").at(99999).at("offsetsUs").at(1));
    const std::string page = FormatSyncReportAsHtml(report, "<script>'\"&\n");
    EXPECT_NE(std::string::npos, page.find("<h1>&lt;script&gt;&#39;&quot;&amp;?</h1>"));
    EXPECT_EQ(std::string::npos, page.find("<script"));
    EXPECT_EQ(std::string::npos, page.find("nan"));
    EXPECT_GT(200000U, page.size()) << "a page of a long run is to be shown, too";
}

}  // namespace
}  // namespace Zevrin
