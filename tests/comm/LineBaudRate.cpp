// Kept apart: the kernel's termios2 cannot share a file with <termios.h>.
#include <asm/termbits.h>
#include <sys/ioctl.h>

unsigned LineBaudRate(int fd)
{
    termios2 tio{};
    if (ioctl(fd, TCGETS2, &tio) != 0)
        return 0;
    return tio.c_ospeed;
}
