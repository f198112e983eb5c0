// Numbers and fixed texts read one after another, with the rules of formatted input.

#include "files/text_scan.h"

#include "failing_files.h"
#include "scratch_folder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

class TextScanTest : public ::testing::Test
{
protected:
    TextScan Open(const std::string &text) const
    {
        folder.Write("text", text);
        return OpenTextScan(folder.Path("text").c_str());
    }

    // The first number of a text; -7.5 where there is none.
    double FirstDouble(const std::string &text) const
    {
        const TextScan scan = Open(text);
        double value = -7.5;
        (void)ScanDouble(*scan, &value);
        return value;
    }

    ScratchFolder folder;
};

TEST_F(TextScanTest, WhiteSpaceMatchesAnyRunOfItAndNone)
{
    const TextScan scan = Open("a \t\r\n b=5\v\f6");
    int32_t value = 0;
    EXPECT_TRUE(ScanText(*scan, "a b"));
    EXPECT_TRUE(ScanText(*scan, "\n= "));
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, 5);
    EXPECT_TRUE(ScanLong(*scan, &value)) << "a number skips it too";
    EXPECT_EQ(value, 6);
    EXPECT_TRUE(ScanText(*scan, " \n")) << "at the end nothing is a run of it";
}

TEST_F(TextScanTest, AMismatchStaysWhereItIsAndKeepsTheValue)
{
    const TextScan scan = Open("ab12x");
    double value = -7.5;
    EXPECT_FALSE(ScanText(*scan, "ac"));
    EXPECT_FALSE(ScanDouble(*scan, &value));
    EXPECT_EQ(value, -7.5);
    EXPECT_TRUE(ScanText(*scan, "b")) << "what matched before it is gone";
    int32_t number = 0;
    EXPECT_TRUE(ScanLong(*scan, &number));
    EXPECT_EQ(number, 12);
    EXPECT_FALSE(ScanLong(*scan, &number));
    EXPECT_EQ(number, 12);
    EXPECT_TRUE(ScanText(*scan, "x"));
    EXPECT_FALSE(ScanText(*scan, "x")) << "the end";
    EXPECT_FALSE(ScanDouble(*scan, &value));
}

TEST_F(TextScanTest, NumbersHaveTheirUsualForms)
{
    EXPECT_EQ(FirstDouble(" -1.5e-3"), -1.5e-3);
    EXPECT_EQ(FirstDouble("+2.5"), 2.5);
    EXPECT_EQ(FirstDouble(".5 "), 0.5);
    EXPECT_EQ(FirstDouble("5."), 5.0);
    EXPECT_EQ(FirstDouble("1e2"), 100.0);
    EXPECT_TRUE(std::isinf(FirstDouble("-inf")));
    EXPECT_TRUE(std::isnan(FirstDouble("nan")));
    for (const char *none : {"", "-", "+", "+-5", "e5", ".", "x1", ","})
        EXPECT_EQ(FirstDouble(none), -7.5) << none;
    EXPECT_EQ(FirstDouble("1,5"), 1.0) << "no comma is a decimal point";
}

TEST_F(TextScanTest, NumbersBeyondTheRangeAreItsNearestEnd)
{
    const double infinity = std::numeric_limits<double>::infinity();
    const std::string zeros(340, '0');
    EXPECT_EQ(FirstDouble("1e400"), infinity);
    EXPECT_EQ(FirstDouble("-1e+400"), -infinity);
    EXPECT_EQ(FirstDouble("1E400"), infinity);
    EXPECT_EQ(FirstDouble("1e-400"), 0.0);
    EXPECT_TRUE(std::signbit(FirstDouble("-1e-400")));
    EXPECT_EQ(FirstDouble("1" + zeros), infinity);
    EXPECT_EQ(FirstDouble("0." + zeros + "1"), 0.0);
    EXPECT_EQ(FirstDouble("0.1e400"), infinity) << "the exponent outweighs the zero";
    EXPECT_EQ(FirstDouble("0." + zeros + "1e5"), 0.0) << "the zeros outweigh the exponent";
    EXPECT_EQ(FirstDouble("1e99999999999999999999"), infinity);
    EXPECT_EQ(FirstDouble("1e-99999999999999999999"), 0.0);

    const TextScan scan = Open("99999999999 -99999999999 2147483647");
    int32_t value = 0;
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, std::numeric_limits<int32_t>::max());
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, std::numeric_limits<int32_t>::min());
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, std::numeric_limits<int32_t>::max());
}

TEST_F(TextScanTest, ALongEndsWhereItsDigitsDo)
{
    const TextScan scan = Open("+12.5");
    int32_t value = 0;
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, 12);
    EXPECT_TRUE(ScanText(*scan, ".5"));
}

TEST_F(TextScanTest, NumbersAndRunsOfSpaceCrossTheEndOfTheBuffer)
{
    for (const int lead : {65530, 65535, 65536, 131070}) {
        const TextScan scan = Open(std::string(lead, ' ') + "1234567.5\n" + "8 9");
        double value = 0.0;
        EXPECT_TRUE(ScanDouble(*scan, &value));
        EXPECT_EQ(value, 1234567.5) << lead;
        EXPECT_TRUE(ScanDouble(*scan, &value));
        EXPECT_TRUE(ScanDouble(*scan, &value));
        EXPECT_EQ(value, 9.0);
        EXPECT_EQ(TextScanSize(*scan), lead + 13);
    }
}

TEST_F(TextScanTest, AnAbsentFileIsNone)
{
    EXPECT_EQ(OpenTextScan(folder.Path("absent").c_str()), nullptr);
    EXPECT_EQ(OpenTextScan(folder.Path().c_str()), nullptr) << "a folder is no file";
}

TEST_F(TextScanTest, AReadThatFailsEndsTheFileAndASizeThatIsNotToldIsZero)
{
    folder.Write("text", "5 6");
    {
        FailingFiles files;
        files.FailAt(3);  // open, size, read
        const TextScan scan = OpenTextScan(folder.Path("text").c_str());
        int32_t value = 7;
        EXPECT_FALSE(ScanLong(*scan, &value));
        EXPECT_EQ(value, 7);
    }
    FailingFiles files;
    files.FailAt(2);
    const TextScan scan = OpenTextScan(folder.Path("text").c_str());
    EXPECT_EQ(TextScanSize(*scan), 0);
    int32_t value = 7;
    EXPECT_TRUE(ScanLong(*scan, &value));
    EXPECT_EQ(value, 5);
}
