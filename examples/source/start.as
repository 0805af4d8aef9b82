// Reset and waiting, by hand: what C cannot say. One part of the file for each kind of processor.

        .global reset, delay
        .global adc_select, adc_data, digit_port, segment_port, key_port
        .text

#if defined(__AVR__)            // stands for the 8-bit parts and the dsPIC

adc_select   = 0x800010
adc_data     = 0x800012
digit_port   = 0x800014
segment_port = 0x800015
key_port     = 0x800016

        .section .init2, "ax"
reset:  clr     r1
        ldi     r28, lo8(stack)
        ldi     r29, hi8(stack)
        out     0x3E, r29
        out     0x3D, r28

        .section .init9, "ax"   // behind what the linker puts here to fill the RAM
        call    main
stop:   rjmp    stop

        .text
delay:  sbiw    r24, 1
        brne    delay
        ret

#elif defined(__arm__)

adc_select   = 0xFFFE0010
adc_data     = 0xFFFE0012
digit_port   = 0xFFFE0014
segment_port = 0xFFFE0015
key_port     = 0xFFFE0016

        .arm
reset:  ldr     sp, =stack
        bl      main
stop:   b       stop

delay:  subs    r0, r0, #1
        bne     delay
        bx      lr
        .ltorg

#else                           // 32-bit MIPS

adc_select   = 0xBF800010
adc_data     = 0xBF800012
digit_port   = 0xBF800014
segment_port = 0xBF800015
key_port     = 0xBF800016

        .set    noreorder
        .ent    reset
reset:  lui     $sp, %hi(stack)
        jal     main
        addiu   $sp, $sp, %lo(stack)
stop:   b       stop
        nop
        .end    reset

        .ent    delay
delay:  addiu   $a0, $a0, -1
        bnez    $a0, delay
        nop
        jr      $ra
        nop
        .end    delay

#endif
