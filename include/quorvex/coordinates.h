#ifndef QUORVEX_COORDINATES_H
#define QUORVEX_COORDINATES_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/*
 * Positions in three units: galvo volts, camera pixels of the calibrated field, and lengths in the
 * object plane. Pixels and volts are tied by polynomials of two variables, fitted once for each
 * beam path and stored in the objective file; pixels and lengths by a scale and the path's centre.
 *
 * A polynomial of order o has (o + 1) squared coefficients; the one at i * (o + 1) + j, with i and
 * j from 0 to o, belongs to the term x^i * y^j, or y^i * x^j in the tables named Y:
 *
 *   dataX    pixels to volts; gives the Y voltage from terms x^i * y^j
 *   dataY    pixels to volts; gives the X voltage from terms y^i * x^j
 *   dataXI   volts to pixels; gives the X pixel from terms x^i * y^j
 *   dataYI   volts to pixels; gives the Y pixel from terms y^i * x^j
 *
 * Every call may come from any thread. While ZVK_CoordinateSystems_Init runs, and after it has
 * failed, the others answer ZVK_COORDINATES_BUSY. Tables and values that go in and come back must
 * be there.
 */

/**
 * Loads both paths: the tables and the calibrated range from the objective file that "LOAD" of
 * "OBJ" in config.ini names, the scale from "FACTORX" and "FACTORY" of "SCALE". Frees what was
 * loaded before. A failure leaves both paths busy until a later call succeeds.
 *
 * @param SessionHandle    session value, ignored
 * @param IDQuery          ignored
 * @param ResetInstrument  ignored
 * @return 0, else the first that applies, path A before path B:
 *         ZVK_CONFILE_NOT_READABLE    config.ini or the objective file can't be read
 *         ZVK_CONFILE_NOT_FOUND       a key or a coefficient is missing or isn't a number
 *         ZVK_COORDINATES_NO_MEMORY   no room for the tables, or a "COEFFNUM" above 1048576
 *         ZVK_COORDINATES_NOT_SQUARE  "COEFFNUM" is not a square number
 */
ZVK_API int32_t ZVK_CoordinateSystems_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                                           uint16_t ResetInstrument);

/**
 * Frees the tables of both paths. They can be loaded again.
 *
 * @param SessionHandle  session value, ignored
 * @return 0
 */
ZVK_API int32_t ZVK_CoordinateSystems_Shutdown(SessionHandle SessionHandle);

/**
 * Converts one point in place. Before each use of a polynomial 1e-07 is added to both of its
 * inputs. The two directions that give volts clamp the result to the mirror limits of the galvo
 * module. A point outside the calibrated range is converted like any other.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param x              in and out: first coordinate
 * @param y              in and out: second coordinate
 * @param trafo_dir      ZVK_TRAFODIR_...
 * @return 0, else the first that applies; where a later step fails, x and y hold what the steps
 *         before have made of them:
 *         ZVK_COORDINATES_BAD_PATH         no such path; nothing changed
 *         ZVK_COORDINATES_NOT_INITIALIZED  the path has not been loaded; nothing changed. Also
 *                                          the answer when a refused
 *                                          ZVK_CoordinateSystems_SetTrafoCoeff has left the path
 *                                          without tables
 *         ZVK_COORDINATES_BUSY             the tables are being loaded; nothing changed
 *         ZVK_COORDINATES_BAD_UNIT         unknown direction, 0 included; nothing changed
 *         ZVK_GALVO_NOT_CONFIGURED         limits or centre are needed, and the galvo module is
 *                                          not up
 *         ZVK_COORDINATES_CLAMPED          warning: done, at the mirror limits. It is not
 *                                          captured: the caller decides
 */
ZVK_API int32_t ZVK_CoordinateSystems_Convert(SessionHandle SessionHandle, int32_t path, double *x,
                                              double *y, int32_t trafo_dir);

/**
 * Tells the calibrated range of a path. In volts and lengths its two corners are converted and each
 * pair is put in order.
 *
 * @param SessionHandle  session value, ignored
 * @param path           beam path, 0 for A, 1 for B
 * @param xCalMin        out, in the unit
 * @param xCalMax        out, in the unit
 * @param yCalMin        out, in the unit
 * @param yCalMax        out, in the unit
 * @param unit           ZVK_UNIT_VOLT, ZVK_UNIT_PIXEL or ZVK_UNIT_MICROMETER; for any other value
 *                       the call returns 0 and writes nothing
 * @return 0, else the first that applies:
 *         ZVK_COORDINATES_BAD_PATH         no such path; nothing written
 *         ZVK_COORDINATES_NOT_INITIALIZED  the path has not been loaded; nothing written
 *         ZVK_COORDINATES_BUSY             the tables are being loaded; nothing written
 *         any of ZVK_CoordinateSystems_Convert, when a corner can't be converted: the outputs
 *         then hold pixels, but for what was converted before
 *         ZVK_COORDINATES_CLAMPED          warning, in volts only: the second corner lies outside
 *                                          the mirror limits. It is captured, as it is for the
 *                                          first corner
 */
ZVK_API int32_t ZVK_CoordinateSystems_GetCalRange(SessionHandle SessionHandle, int32_t path,
                                                  double *xCalMin, double *xCalMax, double *yCalMin,
                                                  double *yCalMax, int32_t unit);

/**
 * Tells the scale of the camera picture, that of path A.
 *
 * @param SessionHandle  session value, ignored
 * @param ScaleX         out, pixels for each unit of length in X
 * @param ScaleY         out, the same in Y
 * @return 0, else the first that applies, with nothing written:
 *         ZVK_COORDINATES_NOT_INITIALIZED  path A has not been loaded
 *         ZVK_COORDINATES_BUSY             the tables are being loaded
 */
ZVK_API int32_t ZVK_CoordinateSystems_GetCameraScale(SessionHandle SessionHandle, double *ScaleX,
                                                     double *ScaleY);

/**
 * Sets the scale of one path, in memory only. A value whose size is 0.0001 or less leaves the old
 * one in its place, without complaint.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param scaleX         pixels for each unit of length in X
 * @param scaleY         the same in Y
 * @return 0, else the first that applies, with nothing changed:
 *         ZVK_COORDINATES_BAD_PATH         no such path
 *         ZVK_COORDINATES_NOT_INITIALIZED  the path has not been loaded
 *         ZVK_COORDINATES_BUSY             the tables are being loaded
 */
ZVK_API int32_t ZVK_CoordinateSystems_CalibrateCamera(SessionHandle SessionHandle, int32_t Path,
                                                      double scaleX, double scaleY);

/**
 * Hands out a copy of a path's four tables. Each pointer given holds null or a table that this call
 * gave earlier, which is freed. The caller owns the new tables and frees them by free().
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param CoeffNum       out: values in each table
 * @param dataX          in and out: the table
 * @param dataY          in and out: the table
 * @param dataXI         in and out: the table
 * @param dataYI         in and out: the table
 * @return 0, else the first that applies:
 *         ZVK_COORDINATES_BAD_PATH         no such path; nothing changed
 *         ZVK_COORDINATES_NOT_INITIALIZED  the path has not been loaded, or has been left without
 *                                          tables; nothing changed
 *         ZVK_COORDINATES_BUSY             the tables are being loaded; nothing changed
 *         ZVK_COORDINATES_NO_MEMORY        no room: CoeffNum is written, all four pointers are null
 */
ZVK_API int32_t ZVK_CoordinateSystems_GetTrafoCoeffs(SessionHandle SessionHandle, int32_t Path,
                                                     int32_t *CoeffNum, double **dataX,
                                                     double **dataY, double **dataXI,
                                                     double **dataYI);

/**
 * Replaces a path's four tables and its calibrated range, in memory only:
 * ZVK_ConFile_WriteObjective saves them. The values are copied.
 *
 * @param SessionHandle  session value, ignored
 * @param Path           beam path, 0 for A, 1 for B
 * @param CoeffNum       values in each table, a square number
 * @param DataX          the table
 * @param DataY          the table
 * @param DataXI         the table
 * @param DataYI         the table
 * @param Limits         4 values in pixels: least X, greatest X, least Y, greatest Y
 * @return 0, else the first that applies:
 *         ZVK_COORDINATES_BAD_PATH         no such path; nothing changed
 *         ZVK_COORDINATES_NOT_INITIALIZED  the path has not been loaded; nothing changed
 *         ZVK_COORDINATES_BUSY             the tables are being loaded; nothing changed
 *         ZVK_COORDINATES_NOT_SQUARE       CoeffNum isn't a square number: the path keeps its
 *                                          count and its range but has lost its tables, until a
 *                                          good call or ZVK_CoordinateSystems_Init
 *         ZVK_COORDINATES_NO_MEMORY        no room, or a CoeffNum above 1048576: the path has
 *                                          the new count and no tables
 */
ZVK_API int32_t ZVK_CoordinateSystems_SetTrafoCoeff(SessionHandle SessionHandle, int32_t Path,
                                                    int32_t CoeffNum, const double *DataX,
                                                    const double *DataY, const double *DataXI,
                                                    const double *DataYI, const double *Limits);

/**
 * Fits the two polynomials of one direction to measured pairs of points, by least squares. The
 * terms are those told above: both variables up to `order` in each, (order + 1) squared of them.
 * coeffX is fitted to vw[0] with terms xy[0]^i * xy[1]^j, coeffY to vw[1] with terms xy[1]^i *
 * xy[0]^j. On return the contents of xy[0] and xy[1] are exchanged.
 *
 * For pixels to volts give the pixels X and Y as xy and the volts Y and X, in this order, as vw:
 * the results are dataX and dataY. For volts to pixels give volts X and Y and pixels X and Y: the
 * results are dataXI and dataYI.
 *
 * The squared residuals of the overdetermined system are minimised by an orthogonal factorisation
 * of the observation matrix (Golub and Van Loan, "Matrix Computations", chapter 5), its columns
 * scaled to length 1 before. With fewer independent samples than terms the solution of least size
 * is given.
 *
 * @param SessionHandle  session value, ignored
 * @param n              number of samples
 * @param order          highest power of each variable, 0 or more
 * @param algorithm      how the equations are solved: 0 by singular value decomposition, any other
 *                       value by Householder reflections with column pivoting, which is faster
 * @param xy             in and out: two tables of n values, exchanged on return
 * @param vw             two tables of n values, the measured outputs
 * @param coeffX         out: (order + 1) squared values; the caller gives room
 * @param coeffY         out: (order + 1) squared values; the caller gives room
 * @return 0, also when a fit can't be made: with n or order out of range, numbers that aren't
 *         finite or no memory the coefficients keep what they held
 */
ZVK_API int32_t ZVK_CoordinateSystems_PolyFit(SessionHandle SessionHandle, int32_t n, int32_t order,
                                              int32_t algorithm, double **xy, double **vw,
                                              double *coeffX, double *coeffY);

ZVK_EXTERN_C_END

#endif
