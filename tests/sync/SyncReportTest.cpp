#include "zevrin/SyncReport.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <tuple>

#include "support/Checks.h"

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

/// Without every `step`-th of the images `first` to `last` of a camera.
Records Without(Records records, unsigned int serialNumber, unsigned long long first, unsigned long long last,
                unsigned long long step = 1) {
    const auto isGone = [=](const SyncRecord& record) {
        return record.serialNumber == serialNumber && record.frameId >= first && record.frameId <= last &&
               (record.frameId - first) % step == 0;
    };
    records.erase(std::remove_if(records.begin(), records.end(), isGone), records.end());
    return records;
}

Records WithoutNumbers(Records records) {
    std::for_each(records.begin(), records.end(), [](SyncRecord& record) { record.frameId = 0; });
    return records;
}

Records WithoutStamps(Records records) {
    std::for_each(records.begin(), records.end(),
                  [](SyncRecord& record) { record = At(record.serialNumber, record.frameId, 0); });
    return records;
}

Records Replaced(Records records, std::size_t index, const SyncRecord& record) {
    records.at(index) = record;
    return records;
}

Records Inserted(Records records, std::size_t index, const SyncRecord& record) {
    records.insert(records.begin() + static_cast<std::ptrdiff_t>(index), record);
    return records;
}

Records Swapped(Records records, std::size_t one, std::size_t other) {
    std::swap(records.at(one), records.at(other));
    return records;
}

/// Every eighth image of the second camera comes halfway between two of the others.
Records EveryEighthBetweenTwo(Records records) {
    for (std::size_t set = 1; 3 * set < records.size(); set += 8) {
        records[3 * set + 1] = At(2, 100 + set, static_cast<long long>(set) * kPeriod + kPeriod / 2);
    }
    return records;
}

/// What is expected of one camera of a run, and of the run.
struct Case {
    const char* name;
    Records records;
    std::size_t camera;
    std::vector<unsigned long long> counts;  ///< lost, out of order, duplicated, missing sets
    long long worstCycles;
    double driftPpm;
    std::size_t sets;
    std::size_t completeSets;
    bool isInStep = true;
};

void PrintTo(const Case& row, std::ostream* pStream) {
    *pStream << row.name;
}

const std::vector<unsigned long long> kNone(4);
constexpr long long kWrap = 128 * kSecond;
const Records kRun = MakeRun(40, 0, kCycle);
const Records kLong = MakeRun(3000, 0, kCycle);
const Records kLonger = MakeRun(5000, 0, kCycle);
const Records kOdd = Replaced(MakeRun(60, kSecond, kCycle), 91, At(2, 130, 101 * kSecond));
const Records kTwenty = MakeRun(20, 0, kCycle);
constexpr long long kTenth = kSecond + 10 * kPeriod;
const Records kNear = Inserted(Replaced(MakeRun(20, kSecond, 0), 31, At(2, 110, kTenth - kCycle)), 32,
                               At(2, 111, kTenth + kCycle));

const Case kCases[] = {
    {"InStep", kRun, 2, kNone, 2, 0, 40, 40},
    {"FiveCyclesAre", MakeRun(9, 0, 5 * kCycle / 2), 2, kNone, 5, 0, 9, 9},
    // The limit is for the cycle counts, as it is when cameras are started: a part of a cycle is none.
    {"NearlySixAre", MakeRun(9, 0, 3 * kCycle - 1), 2, kNone, 5, 0, 9, 9},
    {"SixAreNot", MakeRun(9, 0, 3 * kCycle), 2, kNone, 6, 0, 9, 9, false},
    {"SixBeforeAreNot", MakeRun(9, kSecond, -3 * kCycle), 2, kNone, -6, 0, 9, 9, false},
    // The clock begins anew between two cameras of one set, and twice more in the run.
    {"Wrap", MakeRun(6000, kWrap - 10 * kPeriod - kCycle, kCycle), 1, kNone, 1, 0, 6000, 6000},
    {"BeforeTheFirstAtZero", MakeRun(9, kWrap, -kCycle), 2, kNone, -2, 0, 9, 9},
    {"LostByOne", Without(kRun, 2, 110, 111), 1, {2, 0, 0, 2}, 1, 0, 40, 38},
    {"LostByTheFirst", Without(kRun, 1, 110, 110), 0, {1, 0, 0, 1}, 0, 0, 40, 39},
    {"LostWithoutNumbers", WithoutNumbers(Without(kRun, 3, 120, 120)), 2, {1, 0, 0, 1}, 2, 0, 40, 39},
    {"GapOfAHundredSeconds", Without(kLong, 2, 500, 2499), 1, {2000, 0, 0, 2000}, 1, 0, 3000, 1000},
    // Longer than the clock runs before it begins anew: the numbers tell how often.
    {"GapOfTwoHundredSeconds", Without(kLonger, 2, 500, 4499), 1, {4000, 0, 0, 4000}, 1, 0, 5000, 1000},
    // Ahead by so much that the way back would look like the way on.
    {"OddStamp", kOdd, 1, {1941, 0, 0, 1}, 1, 0, 61, 59},
    {"OddStampWithoutNumbers", WithoutNumbers(kOdd), 1, {1941, 0, 0, 1}, 1, 0, 61, 59},
    {"EveryEighthBetweenTwo", EveryEighthBetweenTwo(kRun), 1, {0, 0, 0, 5}, 1, 0, 45, 35, false},
    {"EverySecondLostByTheFirst", Without(kRun, 1, 101, 139, 2), 0, {19, 0, 0, 20}, 0, 0, 40, 20},
    {"OutOfOrder", Swapped(MakeRun(40, 127 * kSecond, kCycle), 60, 66), 0, {0, 2, 0, 0}, 0, 0, 40, 40},
    {"Duplicate", Inserted(kRun, 30, kRun[31]), 1, {0, 0, 1, 0}, 1, 0, 40, 40},
    // An image halfway between two of the first camera belongs to neither; of two that are equally near, the
    // earlier one is taken.
    {"Halfway", Replaced(kTwenty, 31, At(2, 110, 10 * kPeriod + kPeriod / 2)), 1, {0, 0, 0, 1}, 1, 0, 21, 19},
    {"TwoEquallyNear", kNear, 1, kNone, -1, -1.88, 21, 20},
    {"Drift", MakeRun(400, 120 * kSecond, 0, 25), 2, kNone, 3, 25, 400, 400},
    {"DriftTheOtherWay", MakeRun(2400, kSecond, 0, -40), 2, kNone, -39, -40, 2400, 2400, false},
    // Half an hour at 40 ppm is more than a frame period: pairs slip, the drift stays.
    {"DriftBeyondAPeriod", MakeRun(36000, 0, 0, 40), 2, {0, 0, 0, 2}, -200, 40, 36002, 35998, false},
    {"NoImage", Without(MakeRun(9, 0, 0), 2, 100, 108), 1, {0, 0, 0, 9}, 0, 0, 9, 0, false},
    {"NoStamps", WithoutStamps(MakeRun(9, 0, 0)), 1, {0, 0, 8, 0}, 0, 0, 1, 1, false},
    {"OneImageEach", MakeRun(1, 0, kCycle), 2, kNone, 2, 0, 1, 1},
};

class Sync : public testing::TestWithParam<Case> {};

TEST_P(Sync, Reports) {
    const Case& row = GetParam();
    SyncReport report;
    ASSERT_TRUE(IsOk(AnalyzeSync({1, 2, 3}, row.records, &report)));
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
    const Records outOfRange = Replaced(MakeRun(2, 0, 0), 4, {2, 101, 0, 8000, 0});
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
        EXPECT_TRUE(SaysPart(AnalyzeSync(row.cameras, row.records, &report), row.type, row.part));
        EXPECT_TRUE(report.cameras.empty());
    }
}

TEST(SyncReportFiles, HoldALongRunAndEscapeTheTitle) {
    SyncReport report;
    ASSERT_TRUE(IsOk(AnalyzeSync({1, 2, 3}, Without(MakeRun(100000, 0, kCycle, 1), 3, 5000, 5000), &report)));
    const SyncWorstPair& worst = report.worstPair;
    EXPECT_EQ(std::make_tuple(99999U, 0U, 2U, 129022LL, 41LL),
              std::tie(worst.set, worst.earlierCamera, worst.laterCamera, worst.ticks, worst.cycles));
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

    ASSERT_TRUE(IsOk(AnalyzeSync({1, 2, 3, 4, 5, 6, 7, 8, 9}, MakeRun(1, 0, 0), &report)));
    const std::string many = FormatSyncReportAsHtml(report, "");
    for (const char* color : {"#4878d0", "#5f9ea8", "hsl(16,55%,50%)"}) {  // the last is computed
        EXPECT_NE(std::string::npos, many.find(std::string("background:") + color));
    }
}

}  // namespace
}  // namespace Zevrin
