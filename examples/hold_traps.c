/* Brings a session up, holds a second trap on path A, moves it and says where it is. */

#include <quorvex/quorvex.h>

#include <stdio.h>

int main(void)
{
    const SessionHandle vi = 1;
    char text[4096];
    int32_t bead = 0;
    double x = 300.0;
    double y = 250.0;

    int32_t status = ZVK_init("", 0, 0, vi);
    if (status < 0) {
        ZVK_error_message(vi, status, text);
        fprintf(stderr, "No session (%d): %s\n", (int)status, text);
        return 1;
    }
    status = ZVK_Trap_Add(vi, ZVK_PATH_A, &bead, 100.0, "bead", x, y, ZVK_UNIT_PIXEL);
    printf("added: status %d\n", (int)status);

    x = 420.0;
    y = 310.0;
    ZVK_Trap_SetPosition(vi, ZVK_PATH_A, bead, &x, &y, ZVK_UNIT_PIXEL, 1);
    ZVK_Trap_GotoSetPosition(vi, ZVK_PATH_A, bead);
    ZVK_Trap_GetPosition(vi, ZVK_PATH_A, bead, &x, &y, ZVK_UNIT_PIXEL);
    printf("the bead is at pixel %.1f, %.1f\n", x, y);

    return ZVK_close(vi) < 0;
}
