#ifndef QUORVEX_STATUS_TABLE_H
#define QUORVEX_STATUS_TABLE_H

/*
 * Every status of the library: name, number and text, in one table from which the enumeration of
 * errors.h and the texts of ZVK_error_message are made.
 *
 *   TEXT(name, number, text)      ZVK_error_message gives the text and answers 0
 *   TEXT_101(name, number, text)  it gives the text, but answers -101
 *   BARE(name, number)            a status without a text: the unknown-code text comes out
 *
 * A negative number is an error, a positive one a warning. The signs vary within a block, and the
 * texts stand as clients have always seen them, spelling included.
 */

#include "quorvex/types.h"

/* clang-format off */
#define ZVK_SUPPORT_ADDRESS "support@velmora.example"

#define ZVK_STATUS_TABLE(TEXT, TEXT_101, BARE) \
    /* general */ \
    TEXT(ZVK_SUCCESS, 0, "No error was reported.") \
    TEXT(ZVK_ERROR_UNRECOGNIZED, -101, \
        "The software has produced an unrecognized error code. Please contact Velmora for technical " \
        "support.") \
    TEXT(ZVK_ERROR_NO_MEMORY, -102, \
        "Memory allocation has failed. Please contact Velmora for technical support.") \
    TEXT(ZVK_WARNING_NO_REVISION_QUERY, 1073479941, "The device does not support firmware revision queries") \
    /* beam expander */ \
    TEXT(ZVK_BEAMEXPANDER_ALREADY_INITIALIZED, 200, "Warning: Beam Expander already initialized.\n") \
    TEXT(ZVK_BEAMEXPANDER_OUT_OF_RANGE, 201, "Position is out of allowed range.\n") \
    TEXT(ZVK_BEAMEXPANDER_NO_REPLY, -202, \
        "Beam Expander Communcation Error. Reply not received in time. Check cable connections.\n") \
    TEXT(ZVK_BEAMEXPANDER_BAD_CHECKSUM, -203, \
        "Beam Expander Communcation Error. Checksum indicates lost data. Check cable connections.\n") \
    TEXT(ZVK_BEAMEXPANDER_NOT_FOUND, 205, \
        "The system did not find a connected Beam Expander. Check cable connections and/or restart " \
        "the system.\n") \
    TEXT(ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE, -206, \
        "An unexpected value has been received from EEPROM read-out during motor board " \
        "initialization.\n") \
    TEXT(ZVK_BEAMEXPANDER_PORT_FAILED, -207, \
        "An error occured while trying to communicate with the Beam Expander via a serial port. " \
        "Check cable connections and/or restart the system.\n") \
    TEXT(ZVK_BEAMEXPANDER_BAD_PATH, -208, "Path needs to be zero or one.\n") \
    TEXT(ZVK_BEAMEXPANDER_BAD_SPEED, 209, \
        "Beam Expander Speed value outside allowed range. Use ZVK_BeamExpander_GetSpeed() to check " \
        "range.\n") \
    /* configuration files */ \
    TEXT(ZVK_CONFILE_WRITE_FAILED, -300, \
        "The system was not able to find requested information to the config file.\nMake sure the " \
        "section/tag information in the config files corresponds to the required layout.\n") \
    TEXT(ZVK_CONFILE_NOT_READABLE, -301, \
        "The system was not able to access a configuration file.\nMake sure the files exists. " \
        "Standard naming is config.ini in the project folder for the main file.\nThe filename for " \
        "the file including calibration data is usually defined in the [OBJ] section in the " \
        "config.ini file.\n") \
    TEXT(ZVK_CONFILE_BAD_TYPE, -302, \
        "The requested data type is unknown. Check 'Quorvex' for valid types\n") \
    TEXT(ZVK_CONFILE_NOT_FOUND, -303, \
        "A request to load configuration data was not succesful. Make sure the requested " \
        "sections/tags exists in the config file. \n") \
    BARE(ZVK_CONFILE_BAD_PATH, -304) \
    TEXT(ZVK_CONFILE_LOG_FAILED, -305, "An error occured while trying to access the log file.\n") \
    /* laser */ \
    TEXT(ZVK_LASER_ALREADY_INITIALIZED, 400, "Warning: Laser already initialized.\n") \
    TEXT(ZVK_LASER_DAQ_FAILED, -401, \
        "DAQ hardware could not be initialized. Check cable connections. If necessary use NI-MAX to " \
        "check name of DAQ card, make sure DAQ cards are named as defined in the config file.\nThe " \
        "standard location of the config file is usually c:\\ProgramData\\ZVK640\\config.ini.\nLook " \
        "for the parameter DAQNAME. The 6229 card is linked to the section MAINDAQ in that file.\n") \
    TEXT(ZVK_LASER_INIT_FAILED, -402, \
        "The laser could not initialized. Check cable connections and power cycle system. Contact " \
        "Velmora Tech Support for further assistance.\n") \
    TEXT(ZVK_LASER_NOT_FOUND, 403, \
        "No configured laser found. Make sure that the initialization function has been called. " \
        "Check cable connections and power cycle system. Contact Velmora Tech Support for further " \
        "assistance.\n") \
    TEXT(ZVK_LASER_NO_REPLY, -404, \
        "The system was not able to communicate with the laser. Check cable connections and power " \
        "cycle system. Contact Velmora Tech Support for further assistance.\n") \
    TEXT(ZVK_LASER_BAD_CURRENT, -405, \
        "The requested laser current value setting is out of the allowed range.\n") \
    TEXT(ZVK_LASER_BAD_PATH, -406, \
        "The beam path value is invalid. Allowed beam paths are zero or one.\n") \
    TEXT(ZVK_LASER_BAD_MODE, -407, \
        "The mode used to control the laser control is unknown. Make sure that the config file " \
        "includes LASERMODE as either CC or CP and that calls to query max power and max current " \
        "reference mode 0 or 1 for constant power or constant current mode\n") \
    TEXT(ZVK_LASER_INTERLOCK_OPEN, 408, \
        "System interlock is open. Please check all interlock connections.\n") \
    TEXT(ZVK_LASER_DEVICE_ERROR_6, 409, "Laser error 6.\n") \
    TEXT(ZVK_LASER_DEVICE_ERROR_5, 410, "Laser error 5.\n") \
    TEXT(ZVK_LASER_DEVICE_ERROR_4, 411, "Laser error 4.\n") \
    TEXT(ZVK_LASER_DEVICE_ERROR_3, 412, "Laser error 3.\n") \
    TEXT(ZVK_LASER_DEVICE_ERROR_2, 413, "Laser error 2.\n") \
    TEXT(ZVK_LASER_WRONG_MODE, 414, \
        "The requested command is not compatible with the mode that laser is currently in.\n") \
    TEXT(ZVK_LASER_NO_DAQ, -415, \
        "The config file indicates that a laser exists and is not simulated (MI = 1, SIMULATE = 0 in " \
        "laser section). However the required DAQ hardware (MAINDAQ) to control the laser is not " \
        "available.\nCheck settings in config.ini file.\n") \
    TEXT(ZVK_LASER_BAD_POWER_SETTING, 416, \
        "The IPG Laser can only be set to 0,1, or 2. The values correspond to a minimum power " \
        "setting, alignment power setting, and maximum power output setting.\n") \
    TEXT(ZVK_LASER_BAD_DRIVE_VALUE, 417, \
        "When using an IPG laser a call to ZVK_Laser_SetPower() needs to include the driveValue of 0 " \
        "(min power), 1 (align power), or 2(max power).\n") \
    /* beam power adjuster */ \
    TEXT(ZVK_BEAMPOWER_ALREADY_INITIALIZED, 500, "Warning: Beam Power Adjuster already initialized.\n") \
    TEXT(ZVK_BEAMPOWER_DAQ_FAILED, -501, \
        "DAQ hardware could not be initialized. Check cable connections. If necessary use NI-MAX to " \
        "check name of DAQ card, make sure DAQ cards are named as defined in config file, usually " \
        "found at /ProgramData/ZVK640'.\n") \
    TEXT(ZVK_BEAMPOWER_OUT_OF_RANGE, 501, "The requested set value is out of range.\n") \
    TEXT(ZVK_BEAMPOWER_NOT_FOUND, 502, \
        "The beam power adjuster hardware was not found. Check cable connections and power cycle " \
        "system. Contact Velmora Tech Support for further assistance.\n") \
    TEXT(ZVK_BEAMPOWER_WRITE_FAILED, -504, \
        "The system was not able to write to the beam power device.\nCheck cable connections and " \
        "power cycle system. Contact Velmora Tech Support for further assistance.\n") \
    BARE(ZVK_BEAMPOWER_BAD_PATH, -505) \
    /* galvo */ \
    TEXT(ZVK_GALVO_ALREADY_INITIALIZED, 600, "Warning: Galvo already initialized.\n") \
    TEXT(ZVK_GALVO_DAQ_FAILED, -601, \
        "Daq card was not succesfully initialized. Please contact Velmora for technical support.") \
    TEXT(ZVK_GALVO_DAQ_ALREADY_INITIALIZED, 601, "Warning: Galvo already initialized.\n") \
    TEXT(ZVK_GALVO_NO_MEMORY, -602, "Memeory allocation failed in Galvo function.\n") \
    TEXT(ZVK_GALVO_OUT_OF_RANGE, -603, \
        "The buffer size is out of range. Maximum buffer size is given by sampleNum times four.\nUse " \
        "ZVK_Galvo_GetBufferParameters to query sampleNum.\n") \
    TEXT(ZVK_GALVO_NO_WAYPOINT, -604, \
        "A call to ZVK_Galvo_BufferConfigure was made with zero waypoints. This is not possible.\n" \
        "Please create at least a single waypoint.") \
    TEXT(ZVK_GALVO_NOT_CONFIGURED, -605, \
        "No device was configured. Check settings in the config.ini file in project folder.\n") \
    TEXT(ZVK_GALVO_BAD_PATH, -606, "Path number needs to be zero or one.\n") \
    TEXT(ZVK_GALVO_WRITE_FAILED, -607, \
        "Data could not be written to DAQ card. Check cable connections, power cycle the system. " \
        "Contact Velmora Technical Support for assistance.\n") \
    TEXT(ZVK_GALVO_BAD_MOVE_MODE, -608, \
        "A call to ZVK_Galvo_SetMoveType was made using an unknown type of move mode. Please check " \
        "possible values.") \
    TEXT(ZVK_GALVO_BUFFER_IN_USE, 609, \
        "Galvo DAQ buffer creation failed. Buffer currently in use.\n") \
    TEXT(ZVK_GALVO_NOT_READY, -610, \
        "The Buffer data could not be written since DAQ hardware was not ready or buffer already in " \
        "use.") \
    TEXT(ZVK_GALVO_CLAMPED, 611, \
        "An attempt has been made to set a galvo voltage outside the allowed range.\nLimit values " \
        "are determined via the MIN/MAX values in the galvo section of the configuration file unless " \
        "limits were change using SetLimit call.\nCHANGE OF LIMIT VALUES CAN RESULT IN HARDWARE " \
        "DAMAGE.") \
    TEXT(ZVK_GALVO_TOO_FEW_POINTS, -612, "Set Trajectory needs at least two points.") \
    TEXT(ZVK_GALVO_NEW_BUFFER_FAILED, -613, \
        "A failure occured while trying to write a new buffer (galvo module).\n") \
    TEXT(ZVK_GALVO_SPEED_LIMIT, 614, "Speed limit for galvo reached.") \
    /* stage */ \
    TEXT(ZVK_STAGE_ALREADY_INITIALIZED, 700, "Warning: Stage already initialized.\n") \
    TEXT(ZVK_STAGE_INIT_FAILED, -701, \
        "System could not initalize the stage. Check cable connections, settings in config.ini file, " \
        "power cycle the system. Contact Velmora Technical Support for assistance.\n\n") \
    TEXT(ZVK_STAGE_BAD_CONFIGURATION, -702, \
        "System could not initalize the stage. Either a setting in the config file is invalid or the config file was not found. Contact Velmora at " ZVK_SUPPORT_ADDRESS " for assistance.\n\n") \
    TEXT(ZVK_STAGE_CONNECT_FAILED, -703, \
        "TCP/IP connection to stage failed. Check cable connections, power cycle the system..\n" \
        "Contact Velmora Technical Support for assistance.\n") \
    TEXT(ZVK_STAGE_NOT_SUPPORTED, -704, \
        "Connected stage is not supported by this software version. Contact Technical Support for " \
        "assistance.\n") \
    TEXT(ZVK_STAGE_MOVE_FAILED, -705, \
        "Stage move command failed. Check cable connections, power cycle the system.\nContact " \
        "Velmora Technical Support for assistance.\n") \
    TEXT(ZVK_STAGE_BAD_AXIS, -706, "Requested stage axis does not exist.\n") \
    TEXT(ZVK_STAGE_OUT_OF_RANGE, -707, "Position value out of range.\n") \
    TEXT(ZVK_STAGE_BAD_VELOCITY, -708, \
        "Setting stage velocity failed. Make sure value is withing allowed range.\n") \
    TEXT(ZVK_STAGE_NOT_FOUND, 709, \
        "No configured stage device was found.\nMake sure to run the initialization function first.\n") \
    TEXT(ZVK_STAGE_NO_POSITION, -710, \
        "Position information could not be retrieved from stage.\nCheck cable connections, power " \
        "cycle the system.\nContact Velmora Technical Support for assistance.\n") \
    TEXT(ZVK_STAGE_DAQ_FAILED, -711, \
        "The System was not able to initialize the DAQ card to control the stage. The default name " \
        "of the DAQ card should be RWQS. Use NI-MAX to name the DAQ card accordingly and start the " \
        "software again.\n\n") \
    TEXT(ZVK_STAGE_NO_MEMORY, -712, \
        "System was not able to allcoate the memory required for the data output array used in DAQ " \
        "operation.") \
    TEXT(ZVK_STAGE_BAD_SAMPLE_COUNT, 713, \
        "Requested number of sample points is not possible in combination with step size and " \
        "frequency. Please change your values.\n") \
    TEXT(ZVK_STAGE_BAD_AMPLITUDE, 714, \
        "The requested amplitude for the oscillation of out of range.\nAdjust the amplitude and/or " \
        "the current position setting.\n\n") \
    TEXT(ZVK_STAGE_OSCILLATING, 715, "The stage is currently oscillating.\n\n") \
    TEXT(ZVK_STAGE_OSCILLATION_RANGE, -716, \
        "Warning: Requested position would result in oscillation outside allowed range.\n") \
    TEXT(ZVK_STAGE_NOT_INSTALLED, 717, \
        "The stage does not exist according to the config file settings.n\n") \
    /* trap */ \
    TEXT(ZVK_TRAP_ALREADY_INITIALIZED, 800, "Warning: Trap configuration already initialized.\n") \
    TEXT(ZVK_TRAP_NOT_INITIALIZED, -801, \
        "No Trap has been found. Please use ZVK_Trap_Init to initialize the trap handling.\n") \
    TEXT(ZVK_TRAP_NO_MEMORY, -802, "Memory allocation for trapping configuration failed.\n") \
    TEXT(ZVK_TRAP_BAD_PATH, -803, "Path is unknown.\n") \
    TEXT(ZVK_TRAP_BAD_INDEX, -804, "Trap index does not exist.\n") \
    TEXT(ZVK_TRAP_LAST_TRAP, 806, \
        "A single trap cannot be deleted. turn off the laser or use shutter to avoid any trap site " \
        "to be generated.\n") \
    TEXT(ZVK_TRAP_NO_TRAJECTORY, -807, "Requested Trajectry is unknown.\n") \
    TEXT(ZVK_TRAP_BAD_SPEED_UNIT, -808, "Warning: Trap configuration already initialized.\n") \
    /* coordinate systems */ \
    TEXT(ZVK_COORDINATES_BAD_PATH, -901, \
        "Unknown path requested in coordinate system function. Allowed path numbers are zero and " \
        "one.\n") \
    TEXT(ZVK_COORDINATES_NO_MEMORY, -902, "Memory allocation failed in coordinate system function.\n") \
    TEXT(ZVK_COORDINATES_NOT_SQUARE, -903, "The number of coefficients needs to be a square number.\n") \
    TEXT(ZVK_COORDINATES_NOT_INITIALIZED, -904, \
        "It seems that the coordinate system has not been initialized. Please call the corresponding " \
        "init function.\n") \
    TEXT(ZVK_COORDINATES_BAD_UNIT, -905, \
        "Scale function was called with an unknown unit of measure.\n") \
    TEXT(ZVK_COORDINATES_BAD_DIRECTION, -906, \
        "The requested transformation is not supported.\nCheck the setting for ZVK_TRAFODIR_XXXXX " \
        "you are using and look up the function which supports that tranformation.\n") \
    TEXT(ZVK_COORDINATES_CLAMPED, 907, "Value out of allowed range.\n") \
    TEXT(ZVK_COORDINATES_OUT_OF_RANGE, 908, \
        "A trap position was requested which is outside the currently calibrated range. Please " \
        "re-calibrate the system to enlarge the calibration range of reduce the step size of the " \
        "move.\n") \
    TEXT(ZVK_COORDINATES_BUSY, -909, \
        "The coordinate system data is currently not accessible. Please try again.\n") \
    /* camera */ \
    TEXT(ZVK_CAMERA_ALREADY_INITIALIZED, 1000, "The camera had already been initialized.\n") \
    TEXT(ZVK_CAMERA_ANDOR_FAILED, -1001, \
        "An error occurred in the Andor SDK. Please check log file for details.\n") \
    TEXT(ZVK_CAMERA_PYLON_FAILED, -1002, \
        "An error occurred in the Pylon SDK. Please check log file for details.\n") \
    TEXT(ZVK_CAMERA_VISION_FAILED, -1003, \
        "An error occurred in the NI Vision SDK. Please check log file for details.\n") \
    TEXT(ZVK_CAMERA_NOT_READABLE, -1004, \
        "The requested attribute is not available for read access at this time.\n") \
    TEXT(ZVK_CAMERA_NOT_WRITABLE, -1005, \
        "The requested attribute is not available for write access at this time.\n") \
    TEXT(ZVK_CAMERA_NOT_INITIALIZED, -1006, "No camera has been configured and initialized.\n") \
    TEXT(ZVK_CAMERA_COOLER_FAILED, -1007, "Cooler setting has failed.\n") \
    TEXT(ZVK_CAMERA_NOT_ON_PYLON, -1008, \
        "The requested operation is not supported on the Pylon Backend.\n") \
    TEXT(ZVK_CAMERA_NOT_ON_VISION, -1009, \
        "The requested operation is not supported on the Vision Backend.\n") \
    TEXT(ZVK_CAMERA_NOT_ON_ANDOR, -1010, \
        "The requested operation is not supported on the Andor Backend.\n") \
    TEXT(ZVK_CAMERA_NOT_CONFIGURED, -1011, "The camera is not yet configured for acquisition.\n") \
    TEXT(ZVK_CAMERA_BAD_GAIN_MODE, -1012, "The requested gain mode is not supported by the camera.\n") \
    TEXT(ZVK_CAMERA_NOT_DETECTED, -1013, "No camera has been detected.\n") \
    TEXT(ZVK_CAMERA_NO_COLOR, -1014, "The detected camera does not support color acquisition.\n") \
    TEXT(ZVK_CAMERA_NO_MONOCHROME, -1015, \
        "The detected camera does not support monochrome acquisition.\n") \
    TEXT(ZVK_CAMERA_IMAGE_WRITE_FAILED, -1016, "Writing the image to disc failed.\n") \
    BARE(ZVK_CAMERA_BAD_PATH, -1017) \
    TEXT(ZVK_CAMERA_BAD_ZOOM_CENTER, -1018, "Requeted Zoom Center is out of range.\n") \
    TEXT(ZVK_CAMERA_BAD_ALPHA, 1019, \
        "The requested alpha value is out of range. Possible values are in the range of 0.0 to 1.0.\n") \
    TEXT(ZVK_CAMERA_NO_SERVER, -1020, \
        "The software was not able to connect to the Micromanager Server.\nMake sure the server is " \
        "running or if you don't want to use Micromanager check the camera backend setting in the " \
        "config file.") \
    TEXT(ZVK_CAMERA_SERVER_EXCEPTION, 1021, \
        "The camera module raised an exception. The system is running camera via Micromanager " \
        "Server. In this case camera properties need to be configured via Micromanagerhe software " \
        "was not able to connect to the Micromanager Server.\nMake sure the server is running or if " \
        "you don't want to use Micromanager.") \
    TEXT(ZVK_CAMERA_BAD_PARAMETER, 1022, \
        "A parameter has been passed to the camera SDK which is not supported.\n") \
    TEXT(ZVK_CAMERA_HAMAMATSU_FAILED, -1023, "The system was not able to initialize the Hamamatsu API.\n") \
    TEXT(ZVK_CAMERA_START_FAILED, -1024, "Starting Acquisition failed.\n") \
    TEXT(ZVK_CAMERA_BAD_EXPOSURE, 1025, "The exposure time is out of range.\n") \
    TEXT(ZVK_CAMERA_NO_MEMORY, -1026, "Allocation of the buffers for memory acquisition failed.\n") \
    TEXT(ZVK_CAMERA_NOT_A_MODE, 1027, \
        "The property for which support values were requested does not have the type 'MODE'.\n") \
    TEXT(ZVK_CAMERA_OUT_OF_RANGE, 1028, "The requested value is outside the allow range.\n") \
    TEXT(ZVK_CAMERA_BAD_SETTING, -1029, "The requested setting is not supported by the camera.\n") \
    TEXT(ZVK_CAMERA_NO_SUPPORT, -1030, \
        "The config file indicates that a camera is to be used for which the current dll does not " \
        "provide support.\nPlease check with Velmora in order to add support for this camera.\n") \
    TEXT(ZVK_CAMERA_NO_HISTOGRAM, 1031, \
        "The config file indicates that no histogram window is to be initialized. Set HISTOSUPPORT " \
        "flag to 1 in config.ini and restart the software.\n") \
    /* force acquisition */ \
    BARE(ZVK_FORCE_ALREADY_INITIALIZED, 1100) \
    TEXT(ZVK_FORCE_DATA_ALREADY_INITIALIZED, 1200, "The force data module has already been initialized.") \
    BARE(ZVK_FORCE_BAD_TRIGGER_TYPE, -1201) \
    BARE(ZVK_FORCE_BAD_TRIGGER_EDGE, -1202) \
    TEXT(ZVK_FORCE_NO_TRIGGER, -1203, \
        "The system has not received the trigger signal to start the force measurement acquisition " \
        "process.\nCheck the timeout setting used during the call to initiate the force measurement.") \
    TEXT(ZVK_FORCE_NOT_INITIALIZED, -1204, \
        "The force data acquisition module has not been initialized. Please call the corresponding " \
        "init function first.") \
    TEXT(ZVK_FORCE_BUSY, -1205, \
        "The force data acquisition could not be started since the DAQ channel is busy..") \
    TEXT(ZVK_FORCE_BAD_SAMPLE_RATE, -1206, "The requested sample rate is not supported by the hardware.") \
    TEXT(ZVK_FORCE_BAD_SAMPLE_COUNT, -1207, \
        "The requested number of samples to acquire is not supported.") \
    BARE(ZVK_FORCE_BAD_CHANNELS, -1208) \
    TEXT(ZVK_FORCE_OVERRUN, -1209, \
        "The system was not able to process acquired data quickly enough.\nConsider using more " \
        "buffers during buffered acquisition or change sample rate.") \
    BARE(ZVK_FORCE_BAD_BUFFER, -1210) \
    TEXT(ZVK_FORCE_TOO_FEW_SAMPLES, -1211, "The requested number of samples is too low.") \
    TEXT(ZVK_FORCE_DAQ_FAILED, -1212, "Force Module Hardware could not be initialized.") \
    TEXT(ZVK_FORCE_NO_MEMORY, -1213, "Memory allocation failed in force module.") \
    /* image processing */ \
    TEXT(ZVK_IMAGEPROC_NOT_INITIALIZED, -1300, \
        "Image processing has not been initialized. Please call required init function first.\n") \
    TEXT(ZVK_IMAGEPROC_ALREADY_INITIALIZED, 1301, "Image processing has already been initialized.\n") \
    TEXT(ZVK_IMAGEPROC_NO_MEMORY, -1302, "Image processing memory allocation error.\n") \
    TEXT(ZVK_IMAGEPROC_BAD_INDEX, -1303, "Line index was not found.\n") \
    /* force calibration */ \
    BARE(ZVK_FORCECAL_ALREADY_INITIALIZED, -1400) \
    BARE(ZVK_FORCECAL_NOT_INITIALIZED, -1401) \
    BARE(ZVK_FORCECAL_NOT_INSTALLED, -1402) \
    BARE(ZVK_FORCECAL_BAD_MEDIUM, -1403) \
    BARE(ZVK_FORCECAL_BAD_PATH, -1404) \
    BARE(ZVK_FORCECAL_BAD_TYPE_COUNT, -1405) \
    BARE(ZVK_FORCECAL_TOO_FEW_PULSES, -1406) \
    BARE(ZVK_FORCECAL_BAD_AXIS, -1407) \
    BARE(ZVK_FORCECAL_NO_TIME_DATA, -1408) \
    BARE(ZVK_FORCECAL_NO_SPECTRUM, -1409) \
    BARE(ZVK_FORCECAL_NO_FIT, -1410) \
    BARE(ZVK_FORCECAL_BAD_DATA_TYPE, -1411) \
    BARE(ZVK_FORCECAL_NO_POTENTIAL, -1412) \
    BARE(ZVK_FORCECAL_FILE_FAILED, -1413) \
    BARE(ZVK_FORCECAL_NO_LINE_SCAN, -1414) \
    TEXT(ZVK_FORCECAL_SPECTRUM_TOO_LONG, 1415, \
        "The requested calibration parameters require a larger FFT array. Either change calibration " \
        "settings (e.g. length or averages) or change MAX_FFT in the config file.\n") \
    /* joystick (not part of this instrument) and one force text */ \
    TEXT_101(ZVK_JOYSTICK_FORCE_ALREADY_INITIALIZED, -1500, \
        "The force data acquisition module has already been initialized.") \
    TEXT_101(ZVK_JOYSTICK_NOT_INITIALIZED, -1501, "No joystick has been configured and initialized.") \
    TEXT_101(ZVK_JOYSTICK_NOT_FOUND, -1502, "No supported USB joystick device has been found.") \
    TEXT_101(ZVK_JOYSTICK_NO_WINDOW, -1503, "The configured parent window has not been found.") \
    TEXT_101(ZVK_JOYSTICK_BAD_BUTTON, -1504, \
        "An invalid button number has been requested. Valid numbers range from 0 to 254.") \
    /* detector */ \
    TEXT_101(ZVK_DETECTOR_NOT_INITIALIZED, -1600, "The detector module has not been initialzed.\n") \
    TEXT_101(ZVK_DETECTOR_BAD_GAIN, 1601, \
        "The requested gain setting is not supported by the detector.\nValid gains are 1,10, and " \
        "100.\n") \
    TEXT_101(ZVK_DETECTOR_NO_LIBRARY, -1602, "The DKL detector dll could not be loaded.\n") \
    TEXT_101(ZVK_DETECTOR_NO_REPLY, -1603, \
        "The system was not able to communicate with the QPD detector. Please check cable " \
        "connections.\n") \
    TEXT_101(ZVK_DETECTOR_A_NO_REPLY, 1604, \
        "Detector in Path A did not respond during initialization.If you have a dual detector system " \
        "please check cable connections.\n") \
    TEXT_101(ZVK_DETECTOR_B_NO_REPLY, 1605, \
        "Detector in Path B did not respond during initialization.If you have a dual detector system " \
        "please check cable connections.\n") \
    TEXT_101(ZVK_DETECTOR_BAD_PATH, -1606, \
        "The requested Beam Path does not exist. Please use either zero or one.\n")
/* clang-format on */

#endif
