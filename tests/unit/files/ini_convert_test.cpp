// Values on their way between text and numbers.

#include "files/ini_store.h"

#include "platform/memory.h"

#include <clocale>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <locale>

// The value of "x" in a file of one item.
static int GetInt(const std::string &value, int32_t *number)
{
    const Store store(Ini_New(1), Ini_Dispose);
    (void)Ini_ReadFromText(store.get(), "[s]\nx = " + value + "\n");
    return Ini_GetInt(store.get(), "s", "x", number);
}

static int GetDouble(const std::string &value, double *number)
{
    const Store store(Ini_New(1), Ini_Dispose);
    (void)Ini_ReadFromText(store.get(), "[s]\nx = " + value + "\n");
    return Ini_GetDouble(store.get(), "s", "x", number);
}

static std::string GetString(const std::string &value)
{
    const Store store(Ini_New(1), Ini_Dispose);
    (void)Ini_ReadFromText(store.get(), "[s]\nx = " + value + "\n");
    char *copy = nullptr;
    if (Ini_GetStringCopy(store.get(), "s", "x", &copy) <= 0) return "(none)";
    std::string text = copy;
    Release(copy);
    return text;
}

TEST(IniConvert, IntTakesOneSignAndDecimalDigitsOf32Bits)
{
    struct Row
    {
        const char *text;
        int32_t number;
    };
    const Row rows[] = {
        {"0", 0},     {"5", 5},         {"-5", -5},
        {"+5", 5},    {"007", 7},       {"2147483647", INT32_MAX},
        {"\"5\"", 5}, {"\" \t5 \"", 5}, {"-2147483648", INT32_MIN},
        {"+0", 0},    {"-0", 0},        {"00000000000000000000001", 1},
    };
    for (const Row &row : rows) {
        int32_t number = 77;
        EXPECT_GT(GetInt(row.text, &number), 0) << row.text;
        EXPECT_EQ(number, row.number) << row.text;
    }
}

TEST(IniConvert, OtherTextsAreNoIntAndLeaveTheNumber)
{
    const char *const texts[] = {"2147483648", "-2147483649", "5.0", "5 6", "+-5",
                                 "-+5",        "--5",         "+",   "-",   "0x10",
                                 "five",       "5;",          "- 5", "1e3", "99999999999999999999",
                                 "\\x35"};
    for (const char *text : texts) {
        int32_t number = 77;
        EXPECT_LT(GetInt(text, &number), 0) << text;
        EXPECT_EQ(number, 77) << text;
    }
}

TEST(IniConvert, BlankValueCountsAsAbsent)
{
    int32_t number = 77;
    double real = 7.5;
    for (const char *text : {"", "\"\"", "\" \t \""}) {
        EXPECT_EQ(GetInt(text, &number), 0) << text;
        EXPECT_EQ(GetDouble(text, &real), 0) << text;
    }
    EXPECT_EQ(number, 77);
    EXPECT_EQ(real, 7.5);
}

TEST(IniConvert, DoubleTakesTheStandardDecimalForms)
{
    struct Row
    {
        const char *text;
        double number;
    };
    const double infinity = std::numeric_limits<double>::infinity();
    const Row rows[] = {
        {"0.5", 0.5},
        {"-0.5", -0.5},
        {"+0.5", 0.5},
        {".5", 0.5},
        {"5.", 5.0},
        {"1e3", 1000.0},
        {"1E+3", 1000.0},
        {"1e-3", 0.001},
        {"+Inf", infinity},
        {"iNF", infinity},
        {"-INF", -infinity},
        {"\" 5\"", 5.0},
        {"12", 12.0},
        {"+.5e1", 5.0},
        {"0.1", 0.1},
        {"1.7976931348623157e308", 1.7976931348623157e308},
        {"4.940656458412465e-324", 5e-324},
    };
    for (const Row &row : rows) {
        double number = 7.5;
        EXPECT_GT(GetDouble(row.text, &number), 0) << row.text;
        EXPECT_EQ(number, row.number) << row.text;
    }
}

TEST(IniConvert, OtherTextsAreNoDoubleAndLeaveTheNumber)
{
    const char *const texts[] = {"0,5",   "1e400", "-1e400", "1e-400", "nan",  "-nan",   "infinity",
                                 "++inf", "0x10",  "1.5x",   "1 2",    "+-1",  "--1",    ".",
                                 "-",     "+",     "e5",     "1e",     "five", "\"5 \"", "\" Inf\"",
                                 "- 5",   "+ 5",   "-.",     "1d3",    "5f"};
    for (const char *text : texts) {
        double number = 7.5;
        EXPECT_LT(GetDouble(text, &number), 0) << text;
        EXPECT_EQ(number, 7.5) << text;
    }
}

TEST(IniConvert, DoubleIsWrittenWith16SignificantDigits)
{
    struct Row
    {
        double number;
        const char *text;
    };
    const Row rows[] = {
        {0.5, "0.5"},
        {-2.0, "-2"},
        {0.1, "0.1"},
        {1.0 / 3.0, "0.3333333333333333"},
        {1e20, "1e+20"},
        {1e15, "1000000000000000"},
        {1e16, "1e+16"},
        {1e-5, "1e-05"},
        {0.0001, "0.0001"},
        {-0.0, "-0"},
        {1e-300, "1e-300"},
        {123456789.123456789, "123456789.1234568"},
        {HUGE_VAL, "inf"},
        {-HUGE_VAL, "-inf"},
        {5e-324, "4.940656458412465e-324"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(DoubleText(row.number), row.text);
}

TEST(IniConvert, WrittenDoublesReadBack)
{
    for (const double number : {0.5, -1234.5678, 1e-300, 5e-324, HUGE_VAL, -HUGE_VAL, 0.0}) {
        double back = 7.5;
        EXPECT_GT(GetDouble(DoubleText(number), &back), 0);
        EXPECT_EQ(back, number);
    }
}

TEST(IniConvert, EscapesOnPut)
{
    EXPECT_EQ(EncodedText("a\tb\nc\rd\"e\\f"), "a\\tb\\nc\\rd\\\"e\\\\f");
    EXPECT_EQ(EncodedText("\x01\x1f\x7f"), "\\x01\\x1f\\x7f");
    EXPECT_EQ(EncodedText(" ;[]=\xc3\xa4'"), " ;[]=\xc3\xa4'");
    EXPECT_EQ(EncodedText(""), "");
}

TEST(IniConvert, EscapesOnGetWhetherQuotedOrNot)
{
    struct Row
    {
        const char *value;
        const char *text;
    };
    const Row rows[] = {
        {"a\\nb\\rc\\td", "a\nb\rc\td"},
        {"\\\"a\\\\", "\"a\\"},
        {"\\x41\\x4a\\x4A", "AJJ"},
        {"C:\\dir\\file", "C:dirfile"},
        {"\\x4", "x4"},
        {"\\xg1", "xg1"},
        {"\\q\\[", "q["},
        {"end\\", "end\\"},
        {"\\x4g", "x4g"},
        {"\\\\n", "\\n"},
        {"\\N", "N"},
        {"\\X41", "X41"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(GetString(row.value), row.text);
        EXPECT_EQ(GetString("\"" + std::string(row.value) + "\""), row.text);
    }
}

TEST(IniConvert, EveryCharacterComesBackFromAPut)
{
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += static_cast<char>(c);
    EXPECT_EQ(DecodedText(EncodedText(all.c_str())), all);
}

TEST(IniConvert, CopyEndsAtADecodedNul) { EXPECT_EQ(GetString("ab\\x00cd"), "ab"); }

TEST(IniConvert, NamesCompareByLowerCaseAndLength)
{
    EXPECT_EQ(CompareNames("GALVO 0", "galvo 0"), 0);
    EXPECT_LT(CompareNames("A_", "AB"), 0) << "the underscore stands before lower-case letters";
    EXPECT_LT(CompareNames("a", "aa"), 0);
    EXPECT_GT(CompareNames("aa", "A"), 0);
    EXPECT_LT(CompareNames("AX1", "AX10"), 0);
    EXPECT_LT(CompareNames("AX10", "AX2"), 0);
    EXPECT_GT(CompareNames("\xc4", "z"), 0);
}

namespace {

struct CommaPoint : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

}  // namespace

TEST(IniConvert, ProgramsLocaleMakesNoDifference)
{
    const std::locale before = std::locale::global(std::locale(std::locale(), new CommaPoint));
    const std::string c = std::setlocale(LC_ALL, nullptr);
    for (const char *name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "C.utf8"}) {
        if (std::setlocale(LC_ALL, name)) break;
    }
    EXPECT_EQ(DoubleText(12345.5), "12345.5");
    double real = 0;
    EXPECT_GT(GetDouble("12345.5", &real), 0);
    EXPECT_EQ(real, 12345.5);
    EXPECT_LT(GetDouble("0,5", &real), 0);
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_EQ(Ini_PutInt(store.get(), "s", "x", 1234567), 0);
    EXPECT_EQ(store->sections.at(0).items.at(0).value, "1234567");
    std::setlocale(LC_ALL, c.c_str());
    std::locale::global(before);
}
