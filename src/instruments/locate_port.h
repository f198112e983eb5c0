#ifndef QUORVEX_INSTRUMENTS_LOCATE_PORT_H
#define QUORVEX_INSTRUMENTS_LOCATE_PORT_H

// Finds serial ports by their friendly names, so that a device may sit in any socket.

/**
 * Looks for ports whose friendly name, in capitals, holds a text. The number of such a port is the
 * one behind the last "COM" of its name; a port without a number from 1 to 255 is passed over.
 *
 * @param inval   the text to look for, in capitals; null finds nothing
 * @param list    out: port numbers in the order in which the ports are listed, room for maxnum; may
 * be null
 * @param maxnum  how many numbers the list holds
 * @return with a list and a maxnum of 1 or more the count of numbers stored, which is at most
 * maxnum; otherwise the number of the first port that fits. In both forms 0 when there is none, or
 * when the ports can't be listed.
 */
int ZVK_LocateComPort(char *inval, int *list, int maxnum);

#endif
