#include "calibrate_notes.h"
#include "calibrate_options.h"

#include <gtest/gtest.h>

using List = std::vector<std::string>;

TEST(CalibrationOptions, AreTakenAsTheyAreGiven)
{
    CalibrationWish wish;
    EXPECT_EQ(
        ReadWish({"--report",      "r.html",  "--save", "n1",        "--instrument",      "/lab",
                  "--yes",         "--paths", "B",      "--no-scan", "--segment",         "0.25",
                  "--averages",    "8",       "--fit",  "10:8000",   "--potential-range", "1.5",
                  "--temperature", "300.5",   "--bins", "60"},
                 CalibrationTool::calibrate, wish),
        "");
    EXPECT_EQ(wish.report, "r.html");
    EXPECT_EQ(wish.save, "n1");
    EXPECT_EQ(wish.instrument, "/lab");
    EXPECT_TRUE(wish.yes);
    EXPECT_EQ(wish.paths, "B");
    EXPECT_FALSE(wish.scan);
    EXPECT_EQ(wish.segment, 0.25);
    EXPECT_EQ(wish.averages, 8);
    EXPECT_EQ(wish.fit, (std::pair{10.0, 8000.0}));
    EXPECT_EQ(wish.potentialRange, 1.5);
    EXPECT_EQ(wish.temperature, 300.5);
    EXPECT_EQ(wish.bins, 60);
    EXPECT_FALSE(wish.viscosity);
}

TEST(CalibrationOptions, ThatCantBeTakenAreAnsweredByOneSentence)
{
    struct Row
    {
        List arguments;
        CalibrationTool tool;
        const char *sentence;
    };
    constexpr auto kCalibrate = CalibrationTool::calibrate;
    constexpr auto kAnalyse = CalibrationTool::analyse;
    const Row rows[] = {
        {{"run1"}, kCalibrate, "\"run1\" is no option: see zvk calibrate --help."},
        {{"--what"}, kCalibrate, "There is no option --what: see zvk calibrate --help."},
        {{"--seed", "1", "x"}, kAnalyse, "There is no option --seed: see zvk analyse --help."},
        {{"--report"}, kCalibrate, "--report needs the name of an HTML file."},
        {{"--report", ""}, kCalibrate, "--report needs the name of an HTML file."},
        {{"--paths", "BA"}, kCalibrate, "--paths needs A, B or AB."},
        {{"--averages", "1"}, kCalibrate, "--averages needs a whole number from 2 to 1000."},
        {{"--averages", "4x"}, kCalibrate, "--averages needs a whole number from 2 to 1000."},
        {{"--segment", "0"}, kCalibrate, "--segment needs seconds, more than 0."},
        {{"--segment", "nan"}, kCalibrate, "--segment needs seconds, more than 0."},
        {{"--temperature", "inf"}, kCalibrate, "--temperature needs kelvin, more than 0."},
        {{"--fit", "8000"}, kCalibrate, "--fit needs two frequencies such as 10:8000."},
        {{"--fit", "8000:10"}, kCalibrate, "--fit needs two frequencies such as 10:8000."},
        {{"--potential-range", "7"},
         kCalibrate,
         "--potential-range needs a number above 0, at most 6."},
        {{"--virtual", "--instrument", "d"},
         kCalibrate,
         "Name either --virtual or --instrument, not both."},
        {{},
         kAnalyse,
         "Name the data to analyse: what zvk calibrate --save was given, or its files."},
        {{"aTDAxdat", "bTDAxdat"},
         kAnalyse,
         "Name the files of one calibration at a time: a and b are two."},
        {{""}, kAnalyse, "A file's name is empty."},
    };
    for (const Row &row : rows) {
        CalibrationWish wish;
        EXPECT_EQ(ReadWish(row.arguments, row.tool, wish), row.sentence);
    }
}

TEST(CalibrationOptions, AreAllToldByTheHelpOfTheirTool)
{
    const std::string calibrate = OptionLines(CalibrationTool::calibrate);
    const std::string analyse = OptionLines(CalibrationTool::analyse);
    EXPECT_NE(calibrate.find("  --save NAME "), std::string::npos);
    EXPECT_NE(calibrate.find("--fit LOW:HIGH "), std::string::npos);
    EXPECT_EQ(analyse.find("--save"), std::string::npos);
    EXPECT_NE(analyse.find("--diameter UM "), std::string::npos);
}

TEST(DataName, IsAFilesNameWithoutItsSuffix)
{
    EXPECT_EQ(DataName("d/run1TDAxdat"), "d/run1");
    EXPECT_EQ(DataName("run1FDBndat"), "run1");
    EXPECT_EQ(DataName("run1.notes.txt"), "run1");
    EXPECT_EQ(DataName("run1.cal"), "run1");
    EXPECT_EQ(DataName("run1"), "run1");
    EXPECT_EQ(DataName("run1TDCxdat"), "run1TDCxdat") << "there is no path C";
    EXPECT_EQ(DataName("run1XDAxdat"), "run1XDAxdat");
    EXPECT_EQ(DataName("TDAxdat"), "TDAxdat") << "nothing would be left";
}

TEST(CalibrationNotes, ComeBackAsTheyWereWritten)
{
    CalibrationData data;
    data.title = "Instrument in /lab = here";
    data.recorded = "2026-11-21 12:00";
    data.temperature = 293.15;
    data.viscosity = 1.0016e-3;
    data.diameter = 0.97;
    data.paths[1].scans[2].points = {{1.0, 1.1, 1.2}, {-0.1, 0.0, 0.1}};
    data.paths[1].scans[2].fit = {{1.1, 1.2}, {0.0, 0.1}};
    data.truth.isKnown = true;
    data.truth.axes[0][1] = {4e-5, 1.25e-6, 674.3};
    CalibrationData back;
    ReadNotes(NotesText(data), back);
    EXPECT_EQ(back.title, data.title);
    EXPECT_EQ(back.recorded, data.recorded);
    EXPECT_EQ(back.temperature, 293.15);
    EXPECT_EQ(back.viscosity, 1.0016e-3);
    EXPECT_EQ(back.diameter, 0.97);
    EXPECT_EQ(back.paths[1].scans[2].points.x, data.paths[1].scans[2].points.x);
    EXPECT_EQ(back.paths[1].scans[2].fit.y, data.paths[1].scans[2].fit.y);
    EXPECT_NEAR(back.paths[1].scans[2].slope, 1.0, 1e-12);
    EXPECT_TRUE(back.truth.isKnown);
    EXPECT_EQ(back.truth.axes[0][1].beta, 1.25e-6);
    EXPECT_FALSE(IsKnown(back.truth.axes[0][0].beta));
}

TEST(CalibrationNotes, ThatAreGarbledAreLeftOut)
{
    CalibrationData data;
    ReadNotes("temperature = -4\nviscosity = a\nscan Cx = 1 2\nscan Ax = 1\nscan Ax = 1 nan\n"
              "truth Az = 1 2\n = \ndiameter = 1 2\nscan\nrecorded = ",
              data);
    EXPECT_FALSE(IsKnown(data.temperature));
    EXPECT_FALSE(IsKnown(data.viscosity));
    EXPECT_FALSE(IsKnown(data.diameter));
    EXPECT_TRUE(data.paths[0].scans[0].points.x.empty());
    EXPECT_FALSE(data.truth.isKnown);
}
