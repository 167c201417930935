// The command line: a plain argument is the configuration, options stand before or after
// it, and a line that does not read is refused with its reason.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/runoptions.h"

namespace {

bool Parse(std::vector<const char*> args, RunOptions* out, std::string* error) {
    args.insert(args.begin(), "velmora");
    return ParseRunOptions(static_cast<int>(args.size()), args.data(), out, error);
}

std::string Refused(std::vector<const char*> args) {
    RunOptions options;
    std::string error;
    EXPECT_FALSE(Parse(args, &options, &error));
    return error;
}

}  // namespace

TEST(RunOptions, NothingMeansTheDefaultConfigurationAndNoDemo) {
    RunOptions options;
    std::string error;
    ASSERT_TRUE(Parse({}, &options, &error));
    EXPECT_EQ(options.config, "");
    EXPECT_EQ(options.record, "");
    EXPECT_EQ(options.replay, "");
}

TEST(RunOptions, TheFirstPlainArgumentIsTheConfiguration) {
    RunOptions options;
    std::string error;
    ASSERT_TRUE(Parse({"conf_pc.cfo", "other.cfo"}, &options, &error));
    EXPECT_EQ(options.config, "conf_pc.cfo");
    ASSERT_TRUE(Parse({"--record", "run.demo", "conf_pc.cfo"}, &options, &error));
    EXPECT_EQ(options.config, "conf_pc.cfo");
    EXPECT_EQ(options.record, "run.demo");
    EXPECT_FALSE(options.has_seed);
    ASSERT_TRUE(Parse({"conf_pc.cfo", "--record", "run.demo", "--seed", "42"}, &options, &error));
    EXPECT_EQ(options.config, "conf_pc.cfo");
    EXPECT_TRUE(options.has_seed);
    EXPECT_EQ(options.seed, 42u);
    // A lone "-" or "-x" is a plain argument, as a file may be named so.
    ASSERT_TRUE(Parse({"-x"}, &options, &error));
    EXPECT_EQ(options.config, "-x");
}

TEST(RunOptions, ReplayAndTimedemo) {
    RunOptions options;
    std::string error;
    ASSERT_TRUE(Parse({"--replay", "a.demo"}, &options, &error));
    EXPECT_EQ(options.replay, "a.demo");
    EXPECT_FALSE(options.timedemo);
    ASSERT_TRUE(
        Parse({"--timedemo", "a.demo", "--shots", "out", "--loop", "1800"}, &options, &error));
    EXPECT_EQ(options.replay, "a.demo");
    EXPECT_TRUE(options.timedemo);
    EXPECT_EQ(options.shots, "out");
    EXPECT_EQ(options.loop_seconds, 1800.0);
}

TEST(RunOptions, LinesThatDoNotReadAreRefused) {
    EXPECT_EQ(Refused({"--replya", "a.demo"}), "unknown option '--replya'");
    EXPECT_EQ(Refused({"--record"}), "option '--record' needs a value");
    EXPECT_EQ(Refused({"--record", ""}), "option '--record' needs a value");
    EXPECT_EQ(Refused({"--record", "a", "--replay", "b"}), "a run either records or replays");
    EXPECT_EQ(Refused({"--replay", "a", "--timedemo", "b"}), "one demo a run");
    EXPECT_EQ(Refused({"--shots", "out"}),
              "'--shots' and '--loop' go with '--replay' or '--timedemo'");
    EXPECT_EQ(Refused({"--replay", "a", "--loop", "0"}), "'--loop' takes seconds, more than 0");
    EXPECT_EQ(Refused({"--replay", "a", "--loop", "nan"}), "'--loop' takes seconds, more than 0");
    EXPECT_EQ(Refused({"--replay", "a", "--loop", "5s"}), "'--loop' takes seconds, more than 0");
    EXPECT_EQ(Refused({"--record", "a", "--seed", "-1"}),
              "'--seed' takes a number from 0 to 4294967295");
    EXPECT_EQ(Refused({"--record", "a", "--seed", "4294967296"}),
              "'--seed' takes a number from 0 to 4294967295");
    EXPECT_EQ(Refused({"--seed", "7"}), "'--seed' goes with '--record': a demo brings its own");
}
