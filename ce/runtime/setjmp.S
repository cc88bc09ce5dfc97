    .syntax unified
    .arm
    .text
    .section .text.setjmp,"ax",%progbits
    .global setjmp
    .type setjmp, %function
setjmp:
    stmia r0!, {r4-r11}
    str sp, [r0], #4
    str lr, [r0]
    mov r0, #0
    bx lr
    .size setjmp, . - setjmp

    .section .text.longjmp,"ax",%progbits
    .global longjmp
    .type longjmp, %function
longjmp:
    mov r2, r0
    movs r0, r1
    moveq r0, #1
    ldmia r2!, {r4-r11}
    ldr sp, [r2], #4
    ldr lr, [r2]
    bx lr
    .size longjmp, . - longjmp
