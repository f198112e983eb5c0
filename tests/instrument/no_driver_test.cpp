// A machine without the card's driver: every hardware start ends in a status, and the log tells
// what is missing and what can be done.

#include "scratch_folder.h"

#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

TEST(NoDriver, StartFailsAndTheLogNamesTheLibraryAndTheVariable)
{
    ScratchFolder folder;
    ScopedVariable library("ZVK_DAQMX_LIBRARY", "/nowhere/libnothing.so");
    folder.Write(
        "config.ini",
        "[MAINDAQ]\r\nBACKEND=1\r\nCLOCKRATE=10000\r\nSAMPLESPERCHAN=100\r\nEVERYNSAMPLES=100\r\n"
        "TRIGGER=0\r\nSIMULATE=0\r\nDAQNAME=\"Dev1\"\r\n");
    EXPECT_EQ(ZVK_Galvo_DaqInit(0, 1), ZVK_GALVO_DAQ_FAILED);
    const std::string log = folder.Read("log.ini");
    EXPECT_NE(log.find("/nowhere/libnothing.so"), std::string::npos) << log;
    EXPECT_NE(log.find("ZVK_DAQMX_LIBRARY"), std::string::npos) << log;
    EXPECT_EQ(ZVK_Galvo_Shutdown(0), 0);
}
