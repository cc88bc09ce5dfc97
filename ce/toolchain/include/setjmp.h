/* setjmp and longjmp of runtime/setjmp.S: r4 to r11, the stack pointer and the return address. */
#ifndef OCELLUS_CE_SETJMP_H
#define OCELLUS_CE_SETJMP_H

#ifdef __cplusplus
extern "C" {
#endif

typedef int jmp_buf[10];
int setjmp(jmp_buf buffer) __attribute__((returns_twice));
void longjmp(jmp_buf buffer, int value) __attribute__((noreturn));

#ifdef __cplusplus
}
#endif

#endif
