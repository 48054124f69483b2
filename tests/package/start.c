/* Begins and ends a Windows program that has no C runtime, as other compilers' programs have none of ours. */
#include <windows.h>

int main(void);
void Start(void);

int _fltused = 0; /* asked for by code with floating-point numbers; it is part of Microsoft's C runtime */

void Start(void)
{
    ExitProcess((UINT)main());
}
