#ifndef QUORVEX_CONFILE_H
#define QUORVEX_CONFILE_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/*
 * The text files of the instrument: configuration, log, objective and force calibration.
 *
 * They lie in the common data folder: $ZVK_COMMON_APPDATA if it is set, else /var/lib if
 * /var/lib/ZVK640 exists, else $XDG_DATA_HOME or ~/.local/share; then "/ZVK640/". The folder is not
 * made. Each call knows some file names that mean a file there, compared exactly; any other name is
 * a path as it stands, of which 4096 characters count.
 *
 * A section and tag file has lines "[section]" and, below them, "tag = value". Lines that begin
 * with
 * ";" are comments. Names are found without regard to case and to white space at their ends. Each
 * call loads the file, does one thing and lets it go; nothing is kept in memory. A file that is
 * written gets its sections and tags in alphabetical order, comments stay above the line they stood
 * above, lines that are neither are dropped, and every line ends in CR LF. The new file is written
 * beside the old one, flushed to the disk and put in its place, with its permissions: after a
 * failure or a crash the file is the old one or the new one, whole. A write needs a file that may
 * be written and a folder that does.
 *
 * Numbers have a decimal point whatever the program's locale is. Doubles are written with 16
 * significant digits; "Inf", "+Inf" and "-Inf" are read in any case.
 *
 * All calls may be made from any thread. No lock is held between the reading and the writing of a
 * call: where two writers change one file at the same time, the later one's file stands. Exhausted
 * memory gives the status of the step that it stopped.
 */

/**
 * Reads one value. Every failure is also written to "log.ini".
 *
 * @param vi        session value, ignored
 * @param Filename  path, or "config.ini", "log.ini", "default.odf", "default.cal" or "qdmr.bin" in
 *                  the common data folder
 * @param section   section name, without brackets
 * @param tag       tag name
 * @param data      out: char[256] with escapes decoded, int32_t, double or float as `type` says. A
 *                  text of 256 characters or more fills it without a terminator. Left alone on
 *                  failure
 * @param type      ZVK_CONFILE_STRING, _LONG, _DOUBLE or _FLOAT
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_NOT_READABLE  the file is missing, can't be read or has no section
 *         ZVK_CONFILE_BAD_TYPE      no such type
 *         ZVK_CONFILE_NOT_FOUND     no such section or tag, an empty value, or one that isn't of
 *                                   the type; a whole number outside 32 bits; a null `section`,
 *                                   `tag` or `data`
 */
ZVK_API int32_t ZVK_ConFile_Read(SessionHandle vi, const char *Filename, const char *section,
                                 const char *tag, void *data, int16_t type);

/**
 * Writes one value into a file that is there and has a section. A tag that is there is replaced, in
 * all its lines; a new tag or section is added.
 *
 * @param vi        session value, ignored
 * @param Filename  path, or "config.ini", "log.ini", "default.odf" or "default.cal" in the common
 *                  data folder
 * @param section   section name, without brackets
 * @param tag       tag name; 255 characters of it are written
 * @param data      terminated text, int32_t, double or float as `type` says
 * @param type      ZVK_CONFILE_STRING, _LONG, _DOUBLE or _FLOAT
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_NOT_READABLE  the file is missing, can't be read or has no section
 *         ZVK_CONFILE_WRITE_FAILED  the value can't be put: `section`, `tag` or `data` is null, or
 *                                   a name would not be read back ("]" or a line end in a section
 *                                   or more than 1022 characters; "=" or a line end in a tag, or
 *                                   "[" or ";" at its start). Or the file can't be replaced. It is
 *                                   as it was
 *         ZVK_CONFILE_BAD_TYPE      no such type; the file is written again, with its old values
 */
ZVK_API int32_t ZVK_ConFile_Write(SessionHandle vi, const char *Filename, const char *section,
                                  const char *tag, const void *data, int16_t type);

/**
 * Adds a record to a log: two empty lines' ends, "12h 34min 56sec, 7/8/2024" with the month first,
 * a tab, the text and a line end. The file is made if it isn't there, and grows without limit. A
 * record is put out whole, so that those of two threads don't mix; whether the disk took it is not
 * told.
 *
 * @param vi        session value, ignored
 * @param Filename  path, or "log.ini" or "hlls.bin" in the common data folder
 * @param msg       the text, a format without arguments: "%%" gives one percent sign, any other
 *                  conversion stands as it is written
 * @return 0, or ZVK_CONFILE_LOG_FAILED: the file can't be opened, or a pointer is null
 */
ZVK_API int32_t ZVK_ConFile_WriteLog(SessionHandle vi, const char *Filename, const char *msg);

/**
 * Cuts a text down to what stands behind the last occurrence of another one: "/dir/file.odf" with
 * "/" becomes "file.odf". The cut is one character behind the start of that occurrence, however
 * long `tofind` is. A text in which it doesn't occur stays; so does every text when `tofind` is
 * empty or a pointer is null.
 *
 * @param vi      session value, ignored
 * @param source  in and out: terminated text; at most 200 characters of the rest are kept
 * @param tofind  what to look for
 * @return 0
 */
ZVK_API int32_t ZVK_ConFile_Extract(SessionHandle vi, char *source, const char *tofind);

/**
 * Saves the transform of one objective: four polynomials and the calibrated field of a path. A file
 * that isn't there is made, with the same values for both paths. In a file that is there only the
 * section named changes; tags above the new number of coefficients stay.
 *
 * @param vi         session value, ignored
 * @param Filename   path, or "default.odf" in the common data folder
 * @param Section    in: "GALVO 0" or "GALVO 1". When the file is made, it is overwritten with
 *                   "GALVO 0": room for 8 characters. Not null
 * @param coeffnum   coefficients of each polynomial, a square number
 * @param dataX      coeffnum values, pixels to volts, x
 * @param dataY      coeffnum values, pixels to volts, y
 * @param dataIX     coeffnum values, volts to pixels, x
 * @param dataIY     coeffnum values, volts to pixels, y
 * @param field      4 values in pixels: least x, greatest x, least y, greatest y
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_NOT_FOUND     a pointer is null, before any file access (the tables may be
 *                                   when `coeffnum` is 0 or less)
 *         ZVK_CONFILE_WRITE_FAILED  the file isn't there and can't be made, or it is there and
 *                                   can't be read
 *         ZVK_CONFILE_NOT_READABLE  the new file can't be read back
 *         ZVK_CONFILE_NOT_FOUND     a value can't be put: see the names of ZVK_ConFile_Write
 *         ZVK_CONFILE_WRITE_FAILED  the file can't be replaced; it is as it was, or the new one
 *                                   with empty values
 */
ZVK_API int32_t ZVK_ConFile_WriteObjective(SessionHandle vi, const char *Filename, char *Section,
                                           int32_t coeffnum, const double *dataX,
                                           const double *dataY, const double *dataIX,
                                           const double *dataIY, const double *field);

/**
 * Reads the transform of one objective for a path. The number of coefficients in the file is not
 * looked at: ZVK_ConFile_Read gets it from "COEFFNUM", so that the tables have the size.
 *
 * @param vi         session value, ignored
 * @param Filename   path, or "default.odf" in the common data folder
 * @param section    "GALVO 0" or "GALVO 1"
 * @param coeffnum   how many coefficients of each polynomial to read
 * @param dataAX     out: coeffnum values, pixels to volts, x; the caller gives room
 * @param dataAY     out: likewise, y
 * @param dataIAX    out: coeffnum values, volts to pixels, x; the caller gives room
 * @param dataIAY    out: likewise, y
 * @param field      out: 4 values in pixels: least x, greatest x, least y, greatest y
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_NOT_READABLE  the file is missing or can't be read
 *         ZVK_CONFILE_NOT_FOUND     a value is missing or isn't a number; those before it, in the
 *                                   order of the first, second... coefficient of all four tables
 *                                   and then the field, have been stored. Or a pointer is null,
 *                                   and nothing was stored
 */
ZVK_API int32_t ZVK_ConFile_ReadObjective(SessionHandle vi, const char *Filename,
                                          const char *section, int32_t coeffnum, double *dataAX,
                                          double *dataAY, double *dataIAX, double *dataIAY,
                                          double *field);

/**
 * Saves the force calibration of one trap path. A file that isn't there is made, with the same
 * values for both paths. In a file that is there only the path's own section changes; rows above
 * the new counts stay, and a count of 0 leaves the old count.
 *
 * @param vi                            session value, ignored
 * @param Filename                      path, or "default.cal" in the common data folder
 * @param TrapPath                      0: section "TRAP A", 1: section "TRAP B"
 * @param NumberOfCalibrationTypesBeta  rows of `Beta`
 * @param NumberOfCalibrationTypesK     rows of `K`
 * @param Beta                          3 values a row: x, y, z
 * @param K                             3 values a row: x, y, z
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_BAD_PATH      no such path; no file was touched
 *         ZVK_CONFILE_NOT_FOUND     a table that has rows is null; no file was touched
 *         ZVK_CONFILE_WRITE_FAILED  the file isn't there and can't be made, or it is there and
 *                                   can't be read
 *         ZVK_CONFILE_NOT_READABLE  the new file can't be read back
 *         ZVK_CONFILE_NOT_FOUND     a value can't be put
 *         ZVK_CONFILE_WRITE_FAILED  the file can't be replaced; it is as it was, or the new one
 *                                   with empty values
 */
ZVK_API int32_t ZVK_ConFile_WriteForceCalibration(SessionHandle vi, const char *Filename,
                                                  int32_t TrapPath,
                                                  int32_t NumberOfCalibrationTypesBeta,
                                                  int32_t NumberOfCalibrationTypesK,
                                                  const double *Beta, const double *K);

/**
 * Reads the force calibration of one trap path into tables of their own. Old pointers in `*Beta`
 * and
 * `*K` are overwritten, not freed.
 *
 * @param Vi                            session value, ignored
 * @param Filename                      path, or "default.cal" in the common data folder
 * @param TrapPath                      0: section "TRAP A", 1: section "TRAP B"
 * @param NumberOfCalibrationTypesBeta  out: rows of `*Beta`, as the file says
 * @param NumberOfCalibrationTypesK     out: rows of `*K`, as the file says
 * @param Beta                          out: table from malloc, 3 values a row: x, y, z; the caller
 *                                      frees it, whatever the status. A count of 0 gives one too
 * @param K                             out: likewise
 * @return 0, else the first that applies:
 *         ZVK_CONFILE_BAD_PATH      no such path; no file was touched
 *         ZVK_CONFILE_NOT_READABLE  the file is missing or can't be read
 *         ZVK_CONFILE_NOT_FOUND     a pointer is null and nothing was stored; or a count or a
 *                                   value is missing or isn't a number, or there is no room. Beta
 *                                   comes first, the count before its table: what came before the
 *                                   missing value has been stored, and a table that came behind
 *                                   it has not been made. After this status the rows of the last
 *                                   table made are not all there, and it may be shorter than its
 *                                   count
 */
ZVK_API int32_t ZVK_ConFile_ReadForceCalibration(SessionHandle Vi, const char *Filename,
                                                 int32_t TrapPath,
                                                 int32_t *NumberOfCalibrationTypesBeta,
                                                 int32_t *NumberOfCalibrationTypesK, double **Beta,
                                                 double **K);

ZVK_EXTERN_C_END

#endif
