#ifndef QUORVEX_TESTS_INSTRUMENT_FOLDER_H
#define QUORVEX_TESTS_INSTRUMENT_FOLDER_H

// An instrument of the test's own: a new temporary folder with the files given, and the virtual DAQ
// card behind the driver's seam. As long as the object lives ZVK_COMMON_APPDATA names the folder
// and ZVK_DAQMX_LIBRARY the card; the folder goes with it, and both variables return to what they
// were. The library opens its card once, at the first DAQ call of the process: make the object
// before that.
//
//     InstrumentFolder folder({{"config.ini", "[MAINDAQ]\nSIMULATE=0\n"}, {"default.odf", ""}});

#include "scratch_folder.h"

#include <initializer_list>
#include <string>
#include <utility>

class InstrumentFolder
{
public:
    // Pairs of file name and text; an empty list makes an empty folder.
    explicit InstrumentFolder(
        std::initializer_list<std::pair<std::string, std::string>> files = {});

    // The folder's files: Path, Write, Read, Holds, CountFiles.
    const ScratchFolder &Files() const { return m_files; }

    // The path of the virtual card that this program is linked to.
    static std::string CardPath();

private:
    ScratchFolder m_files;
    ScopedVariable m_card;
};

#endif
