// Result texts of the virtual card.

#include "instrument_folder.h"

#include "quorvex-virtual/daqmx_calls.h"

#include <cstdlib>

TEST(DaqCardErrors, EachKnownCodeHasATextOfItsOwnAndItsNumber)
{
    char text[256];
    EXPECT_EQ(DAQmxGetErrorString(-200284, text, sizeof text), 0);
    EXPECT_STREQ(text, "Not all samples had come when the time was over. (-200284)");
    EXPECT_EQ(DAQmxGetErrorString(200010, text, sizeof text), 0);
    EXPECT_STREQ(text, "The task was stopped before all of its samples had come. (200010)");
    EXPECT_EQ(DAQmxGetErrorString(-7, text, sizeof text), 0);
    EXPECT_STREQ(text, "The call failed. (-7)");
    EXPECT_EQ(DAQmxGetErrorString(7, text, sizeof text), 0);
    EXPECT_STREQ(text, "The call has worked, with a warning. (7)");
    EXPECT_EQ(DAQmxGetErrorString(0, text, sizeof text), 0);
    EXPECT_STREQ(text, "Success. (0)");
}

TEST(DaqCardErrors, ATextThatDoesNotFitIsCutAndEnded)
{
    char text[8];
    EXPECT_EQ(DAQmxGetErrorString(0, text, sizeof text), -200228);
    EXPECT_STREQ(text, "Success");
    EXPECT_EQ(DAQmxGetErrorString(0, nullptr, 0), 13);
    EXPECT_EQ(DAQmxGetErrorString(0, text, 0), 13);
}

TEST(DaqCardErrors, TheInstrumentFolderNamesTheLoadedCardAndItsFiles)
{
    std::string path;
    {
        const InstrumentFolder folder({{"config.ini", "[MAINDAQ]\n"}, {"default.odf", ""}});
        path = folder.Files().Path();
        EXPECT_EQ(folder.Files().Read("config.ini"), "[MAINDAQ]\n");
        EXPECT_EQ(folder.Files().CountFiles(), 2);
        EXPECT_STREQ(std::getenv("ZVK_DAQMX_LIBRARY"), InstrumentFolder::CardPath().c_str());
        EXPECT_NE(InstrumentFolder::CardPath().find("libquorvex-virtual-daq.so"),
                  std::string::npos);
        EXPECT_EQ(path.substr(path.size() - 7), "/ZVK640");
    }
    EXPECT_EQ(std::getenv("ZVK_DAQMX_LIBRARY"), nullptr);
}
