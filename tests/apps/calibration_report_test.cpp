#include "plots.h"
#include "plots_figures.h"
#include "report.h"
#include "report_numbers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace fs = std::filesystem;

// Empty when each element is closed in order and no bare sign is left, else what is wrong. Void
// elements of HTML count as closed.
static std::string WhatIsWrong(const std::string &markup)
{
    std::vector<std::string> open;
    for (size_t at = 0; at < markup.size(); ++at) {
        if (markup[at] == '>') return "a bare > at " + std::to_string(at);
        if (markup[at] == '&' && markup.find(';', at) - at > 6) return "a bare &";
        if (markup[at] != '<') continue;
        const size_t end = markup.find('>', at);
        if (end == std::string::npos) return "an open tag";
        const std::string tag = markup.substr(at + 1, end - at - 1);
        at = end;
        if (tag[0] == '!' || tag.back() == '/') continue;
        const std::string name = tag.substr(0, tag.find(' '));
        if (name == "meta" || name == "link" || name == "br") continue;
        if (name[0] != '/') {
            open.push_back(name);
            if (name == "style") at = markup.find("</style>", at) - 1;
            continue;
        }
        if (open.empty() || "/" + open.back() != name) return name + " closes nothing";
        open.pop_back();
    }
    return open.empty() ? "" : open.back() + " is not closed";
}

// -- numbers --

TEST(ReportNumbers, ShowAnUncertaintyWithTwoDigitsAndTheValueAlike)
{
    EXPECT_EQ(WithError({50.346, 0.4321}), "50.35 \u00b1 0.43");
    EXPECT_EQ(WithError({1234.5, 23.0}), "1234 \u00b1 23");
    EXPECT_EQ(WithError({1234.5, 230.0}), "1234 \u00b1 230");
    EXPECT_EQ(WithError({0.00123, 0.00045}), "0.00123 \u00b1 0.00045");
    EXPECT_EQ(WithError({1.20000073, 6.5e-7}), "1.2000 \u00b1 <0.0001");
    EXPECT_EQ(WithError({5.0, kUnknown}), "5.000");
    EXPECT_EQ(WithError({kUnknown, 1.0}), kDash);
    EXPECT_EQ(WithError({INFINITY, 1.0}), kDash);
}

TEST(ReportNumbers, KeepSignificantDigits)
{
    EXPECT_EQ(Significant(0.0, 4), "0");
    EXPECT_EQ(Significant(8.432e-5, 3), "8.43e-05");
    EXPECT_EQ(Significant(99.512, 4), "99.51");
    EXPECT_EQ(Significant(-0.5, 2), "-0.50");
    EXPECT_EQ(Significant(2.5e7, 2), "2.5e+07");
    EXPECT_EQ(Fixed(-0.001, 1), "0.0");
}

TEST(HtmlEscape, LeavesNoSignThatMarksUp)
{
    EXPECT_EQ(HtmlEscape("<b a=\"1\">&'"), "&lt;b a=&quot;1&quot;&gt;&amp;&#39;");
    EXPECT_EQ(HtmlEscape("\u00b5m"), "\u00b5m");
}

// -- axes --

static std::string Texts(const std::vector<Tick> &ticks)
{
    std::string text;
    for (const Tick &tick : ticks)
        if (!tick.text.empty()) text += tick.text + " ";
    return text;
}

TEST(Ticks, OfALinearAxisAreRoundNumbersWithinIt)
{
    EXPECT_EQ(Texts(TicksOf({0.0, 10.0, false, ""}, 5)), "0 2 4 6 8 10 ");
    EXPECT_EQ(Texts(TicksOf({-0.021, 0.021, false, ""}, 4)), "\u22120.02 0.00 0.02 ");
    EXPECT_EQ(Texts(TicksOf({46.1, 51.9, false, ""}, 4)), "47 48 49 50 51 ")
        << "two numbers are too few";
    EXPECT_EQ(Texts(TicksOf({0.3, 0.45, false, ""}, 3)), "0.30 0.35 0.40 0.45 ");
}

TEST(Ticks, OfALogarithmicAxisNameDecades)
{
    EXPECT_EQ(Texts(TicksOf({2.0, 3e4, true, ""}, 4)), "10\u00b9 10\u00b2 10\u00b3 10\u2074 ");
    EXPECT_EQ(
        Texts(TicksOf({1e-12, 1e-3, true, ""}, 4)),
        "10\u207b\u00b9\u00b2 10\u207b\u00b9\u2070 10\u207b\u2078 10\u207b\u2076 10\u207b\u2074 ");
    EXPECT_EQ(TicksOf({1.0, 10.0, true, ""}, 4).size(), 10U) << "2 to 9 between";
}

TEST(Ticks, OfNoAxisAreNone)
{
    EXPECT_TRUE(TicksOf({1.0, 1.0, false, ""}, 4).empty());
    EXPECT_TRUE(TicksOf({0.0, 1.0, true, ""}, 4).empty());
    EXPECT_TRUE(TicksOf({kUnknown, 1.0, false, ""}, 4).empty());
}

TEST(Axes, HoldAllThatIsKnown)
{
    const Axis axis = AxisAround({3.0, kUnknown, -1.0}, false, "x");
    EXPECT_LT(axis.low, -1.0);
    EXPECT_GT(axis.high, 3.0);
    const Axis decades = AxisAround({0.0, 1e-3, 1e2}, true, "x");
    EXPECT_GT(decades.low, 0.0);
    EXPECT_LT(decades.low, 1e-3);
    const Axis flat = AxisAround({5.0, 5.0}, false, "x");
    EXPECT_LT(flat.low, 5.0);
    EXPECT_GT(flat.high, 5.0);
    EXPECT_LT(AxisAround({}, false, "x").low, AxisAround({}, false, "x").high);
}

TEST(Frame, PutsTheEndsOfItsAxesOnItsEdges)
{
    const Frame frame = {10.0, 20.0, 200.0, 100.0, {1.0, 100.0, true, ""}, {-1.0, 1.0, false, ""}};
    EXPECT_DOUBLE_EQ(Across(frame, 1.0), 10.0);
    EXPECT_DOUBLE_EQ(Across(frame, 10.0), 110.0);
    EXPECT_DOUBLE_EQ(Across(frame, 100.0), 210.0);
    EXPECT_DOUBLE_EQ(Up(frame, -1.0), 120.0);
    EXPECT_DOUBLE_EQ(Up(frame, 1.0), 20.0);
    EXPECT_FALSE(Holds(frame, 0.0, 0.0)) << "0 has no place on a logarithmic axis";
    EXPECT_FALSE(Holds(frame, kUnknown, 0.0));
}

TEST(Curves, AreBrokenWhereTheyLeaveTheFrame)
{
    Picture picture;
    const Frame frame = {0.0, 0.0, 100.0, 100.0, {0.0, 1.0, false, ""}, {0.0, 1.0, false, ""}};
    DrawCurve(picture, frame, {{0.0, 0.1, 0.2, 0.3, 0.4}, {0.5, 0.5, 9.0, 0.5, kUnknown}}, kInk);
    EXPECT_NE(picture.body.find("d=\"M0.00 50.00L10.00 50.00M30.00 50.00\""), std::string::npos)
        << picture.body;
}

// -- figures --

TEST(BlockSpectrum, KeepsTheMeanAndLeavesThePeakOut)
{
    Curve spectrum;
    for (int k = 0; k <= 1000; ++k) {
        spectrum.x.push_back(k);
        spectrum.y.push_back(k == 32 ? 1e6 : 2.0 * At({1e4, 100.0}, k));
    }
    const Blocks blocks = BlockSpectrum(spectrum, {1e4, 100.0}, 10, 32.0, 500.0);
    ASSERT_FALSE(blocks.mean.x.empty());
    EXPECT_EQ(blocks.mean.x[0], 1.0) << "the mean of the signal is no part of it";
    EXPECT_LE(blocks.mean.x.back(), 500.0);
    for (const double ratio : blocks.ratio.y)
        EXPECT_NEAR(ratio, 2.0, 1e-12);
    EXPECT_NEAR(blocks.error[0], 2.0 / std::sqrt(10.0), 1e-12) << "one bin of ten segments";
    EXPECT_LT(blocks.error.back(), blocks.error[0]);
    EXPECT_TRUE(BlockSpectrum({}, {1.0, 1.0}, 10, 0.0, 1.0).mean.x.empty());
}

TEST(JoinBins, KeepsEachCount)
{
    PairHistogram pair = {{1.0, 2.0, 3.0}, {10.0, 20.0, 30.0}, {1, 2, 3, 4, 5, 6, 7, 8, 9}};
    const PairHistogram joined = JoinBins(pair, 2);
    EXPECT_EQ(joined.first, (std::vector<double>{1.5, 3.0}));
    EXPECT_EQ(joined.counts, (std::vector<double>{1 + 2 + 4 + 5, 3 + 6, 7 + 8, 9}));
    pair.counts.pop_back();
    EXPECT_TRUE(JoinBins(pair, 2).counts.empty()) << "counts that don't fit the axes";
}

static CalibrationData SmallCalibration()
{
    CalibrationData data;
    data.title = "<script>alert(1)</script> & \"more\"";
    data.temperature = 293.0;
    data.viscosity = 1e-3;
    data.diameter = 1.0;
    data.settings = {{"Range <b>", "1 & 2"}};
    data.remarks = {"a < b"};
    PathData &path = data.paths[0];
    for (RunData &run : path.runs) {
        run.isThere = true;
        run.averages = 4;
        run.segment = 100;
        run.rate = 1000.0;
        run.oscillationHertz = 30.0;
        run.peakHertz = &run == &path.runs[kStillRun] ? kUnknown : 30.0;
        for (SignalData &signal : run.signals) {
            for (int k = 0; k < 50; ++k) {
                signal.spectrum.x.push_back(10.0 * k);
                signal.spectrum.y.push_back(At({1.0, 100.0}, 10.0 * k));
            }
            signal.spectrumFit = signal.spectrum;
            signal.cornerFrequency = 100.0;
            signal.fitPower.assign(4, signal.spectrum.y);
            signal.variances = {1.0, 1.1, 0.9, 1.05};
            signal.peakPower = {2.0, 2.1, 1.9, 2.0};
        }
    }
    for (int axis = 0; axis < kAxes; ++axis) {
        path.told.beta[axis] = 1e-6;
        path.told.powerSpectrum[axis] = 1e-5;
        PotentialData &potential = path.potentials[axis];
        potential.histogram = {{-1.0, 0.0, 1.0, 2.0}, {1.0, 5.0, 4.0, 2.0}};
        potential.potential = {{-1.0, 0.0, 1.0, 2.0}, {3.0, 1.0, 1.2, 2.0}};
        potential.fit = potential.potential;
        path.pairs[axis] = {{0.0, 1.0}, {0.0, 1.0}, {1.0, 0.0, 3.0, 2.0}};
        path.scans[axis].points = {{0.0, 1.0, 2.0}, {0.0, 0.5, 1.0}};
        path.scans[axis].fit = path.scans[axis].points;
        path.scans[axis].slope = 0.5;
    }
    path.told.stiffness.fill(2e-5);
    return data;
}

TEST(Figures, AreWellFormed)
{
    const CalibrationData data = SmallCalibration();
    const PathData &path = data.paths[0];
    const std::string figures[] = {StillSpectraFigure(path, 500.0),
                                   OscillatingSpectraFigure(path, 500.0),
                                   PotentialFigure(path),
                                   PairFigure(path),
                                   ScanFigure(path),
                                   MethodsFigure(data, WorkOut(data), 0)};
    for (const std::string &figure : figures) {
        EXPECT_EQ(figure.substr(0, 4), "<svg");
        EXPECT_EQ(WhatIsWrong(figure), "") << figure.substr(0, 400);
        EXPECT_EQ(figure.find("nan"), std::string::npos);
        EXPECT_EQ(figure.find("\"\u2013\""), std::string::npos) << "a place that isn't known";
    }
}

TEST(Figures, OfNothingAreEmpty)
{
    const PathData nothing;
    EXPECT_EQ(StillSpectraFigure(nothing, 500.0), "");
    EXPECT_EQ(OscillatingSpectraFigure(nothing, 500.0), "");
    EXPECT_EQ(PotentialFigure(nothing), "");
    EXPECT_EQ(PairFigure(nothing), "");
    EXPECT_EQ(ScanFigure(nothing), "");
    EXPECT_EQ(MethodsFigure({}, {}, 0), "");
}

// A range of the fit that holds no bin.
TEST(Figures, ShowASpectrumWithoutAFit)
{
    CalibrationData data = SmallCalibration();
    for (RunData &run : data.paths[0].runs) {
        for (SignalData &signal : run.signals) {
            signal.spectrumFit = {};
            signal.fitPower.assign(4, {});
        }
    }
    const std::string figure = StillSpectraFigure(data.paths[0], 500.0);
    EXPECT_NE(figure.find("no fit"), std::string::npos);
    EXPECT_EQ(WhatIsWrong(figure), "");
    EXPECT_EQ(WhatIsWrong(ReportHtml(data, WorkOut(data), {500.0})), "");
}

TEST(Figures, SayWhereOneOfThreeIsMissing)
{
    CalibrationData data = SmallCalibration();
    data.paths[0].scans[1] = {};
    data.paths[0].runs[2] = {};
    EXPECT_NE(ScanFigure(data.paths[0]).find("not recorded"), std::string::npos);
    EXPECT_NE(OscillatingSpectraFigure(data.paths[0], 500.0).find("not recorded"),
              std::string::npos);
}

// -- the report --

TEST(Report, IsWellFormedAndNeedsNothingFromOutside)
{
    CalibrationData data = SmallCalibration();
    for (const bool truth : {false, true}) {
        data.truth.isKnown = truth;
        const std::string html = ReportHtml(data, WorkOut(data), {500.0});
        EXPECT_EQ(WhatIsWrong(html), "");
        EXPECT_EQ(html.find("<script"), std::string::npos);
        EXPECT_EQ(html.find("src="), std::string::npos);
        EXPECT_EQ(html.find("url("), std::string::npos);
        EXPECT_EQ(html.find("@import"), std::string::npos);
        EXPECT_NE(html.find("&lt;script&gt;alert(1)"), std::string::npos);
        EXPECT_NE(html.find("Range &lt;b&gt;"), std::string::npos);
        EXPECT_NE(html.find("a &lt; b"), std::string::npos);
        EXPECT_EQ(html.find("Path B</h2>"), std::string::npos) << "nothing was recorded there";
        EXPECT_EQ(html.find(">true<") != std::string::npos, truth);
    }
}

TEST(Report, TellsTheScaleAndBothValues)
{
    const CalibrationData data = SmallCalibration();
    const CalibrationResults results = WorkOut(data);
    const std::string html = ReportHtml(data, results, {500.0});
    EXPECT_NE(html.find(HtmlEscape(kScaleWords)), std::string::npos);
    EXPECT_NE(StiffnessTable(data, results).find("told 20.00"), std::string::npos);
    EXPECT_NE(BetaTable(data, results).find("told 1.000"), std::string::npos);
    EXPECT_NE(BetaTable(data, results).find("1.41"), std::string::npos);
    const std::string text = ReportText(data, results);
    EXPECT_NE(text.find("twice the true value"), std::string::npos);
    EXPECT_NE(text.find("Path A x"), std::string::npos);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_TRUE(line.empty() || line.back() != ' ') << line;
}

TEST(Report, MarksAResultThatIsFarFromTheTruth)
{
    CalibrationData data = SmallCalibration();
    data.truth.isKnown = true;
    for (AxisTruth &truth : data.truth.axes[0])
        truth = {1e-5, std::sqrt(2.0) * 1e-6, 100.0};
    EXPECT_EQ(StiffnessTable(data, WorkOut(data)).find(" *"), std::string::npos);
    data.paths[0].told.powerSpectrum[2] = 1.2e-5;
    EXPECT_NE(StiffnessTable(data, WorkOut(data)).find("12.00 *"), std::string::npos);
}

TEST(WriteWhole, LeavesAnOldReportWhereItFails)
{
    const fs::path folder = fs::temp_directory_path() / "quorvex-report-test";
    fs::remove_all(folder);
    fs::create_directories(folder / "report.html" / "inside");
    EXPECT_THROW(WriteWhole((folder / "report.html").string(), "new"), std::runtime_error);
    EXPECT_FALSE(fs::exists(folder / "report.html.part"));
    EXPECT_THROW(WriteWhole((folder / "nowhere" / "a.html").string(), "new"), std::runtime_error);
    WriteWhole((folder / "good.html").string(), "one");
    WriteWhole((folder / "good.html").string(), "two");
    std::ifstream file(folder / "good.html");
    std::string word;
    file >> word;
    EXPECT_EQ(word, "two");
    fs::remove_all(folder);
}
