// A chain of many fiscal years: a save holds every year's entries file open at once, which
// passes a small soft limit of open files; the programs take the hard limit at start.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <string>

#include "host/open_files.h"
#include "host/settings.h"
#include "support/run_command.h"
#include "support/temp_dir.h"

namespace pendara {
namespace {

TEST(OpenFileLimit, TheSoftLimitIsRaisedToTheHardOne) {
    rlimit original{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &original), 0);
    if (original.rlim_max != RLIM_INFINITY && original.rlim_max <= 64)
        GTEST_SKIP() << "the hard limit leaves nothing to raise";
    rlimit low = original;
    low.rlim_cur = 64;
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);
    const long now = RaiseOpenFileLimit();
    rlimit after{};
    ::getrlimit(RLIMIT_NOFILE, &after);
    ::setrlimit(RLIMIT_NOFILE, &original);
    EXPECT_EQ(after.rlim_cur, original.rlim_max);
    EXPECT_EQ(now, original.rlim_max == RLIM_INFINITY ? -1 : static_cast<long>(original.rlim_max));
}

class LongChainTest : public testing::SettingsTest {
  protected:
    testing::TempDir dir;
};

TEST_F(LongChainTest, ASaveOverSixtyYearsWorksUnderASmallSoftLimit) {
    rlimit limit{};
    ::getrlimit(RLIMIT_NOFILE, &limit);
    if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < 400)
        GTEST_SKIP() << "the hard limit is too small for sixty years";
    const std::string data = dir.file("chain");
    ASSERT_EQ(testing::RunCommand(std::string(QVDATA_EXE) + " demo " + data +
                                  " --no-key --years 60 --accounts 4 --entries-per-year 60" +
                                  " >/dev/null 2>&1")
                  .status,
              0);
    // 60 years take about 180 descriptors at once, far above a soft limit of 64.
    const testing::CommandResult save = testing::RunCommand(
        "ulimit -S -n 64 && " + std::string(PENDARA_CLI_EXE) + " save 4300000001 2>&1");
    EXPECT_EQ(save.status, 0) << save.out;
    EXPECT_EQ(save.out.find("unable to open"), std::string::npos) << save.out;
}

}  // namespace
}  // namespace pendara
