// One small file of each format of the COFF family, byte by byte, with what its dump prints.
#pragma once

#include "formats/coff/coff_bytes.h"

namespace tavrel::testing {

struct sample_t {
    std::string file;
    std::string plain_dump; // at -d
    std::string dump;       // at -d -v
    std::string full_dump;  // at -d -v -v
};

// The parts of a dump, as they follow each other.
struct dump_parts_t {
    std::string headers;
    std::string sections, full_sections; // below and from -v -v
    std::string strings;
    std::string string_list; // at -v -v
    std::string symbols;     // from -v on, like the lines
    std::string lines;
};

inline sample_t sample_of(const std::string& file, const dump_parts_t& parts) {
    return {file, parts.headers + parts.sections + parts.strings + "\n\n\n",
            parts.headers + parts.sections + parts.strings + "\n" + parts.symbols + "\n" + parts.lines + "\n",
            parts.headers + parts.full_sections + parts.strings + parts.string_list + "\n" + parts.symbols + "\n" +
                parts.lines + "\n"};
}

inline sample_t mcoff_sample() {
    const std::string file = bytes(R"(
        40 12  02 00  00000000  AA000000  0A000000  12 00  02 10     ; 000 magic, 2 sections, date, symptr, nsyms, flags
        88 13  4D7B0100  77080000  0E000000  08000000                ; 014 5000, 97101, processor 0x877, 14 and 8 bits
        ".text" 000000  10000000 00000000 04000000                   ; 026 section 1: address 0x10, 4 bytes
        76000000 00000000 7A000000  00 00  03 00  20000000           ;     data, no relocations, 3 lines, text
        00000000 04000000  20000000 00000000 03000000                ; 04E section 2: name at 4, address 0x20, 3 bytes
        00000000 00000000 00000000  00 00  00 00  83800100           ;     bits 16, 15, 7, 1, 0
        01 02 03 04                                                  ; 076 data
        00000000  03 00  10000000  00 00  02000000                   ; 07A line 3 at 0x10, function 2
        00000000  00 00  00000000  00 00  00000000                   ;     opens symbol 0
        00000000  04 00  11000000  01 00  02000000                   ;     line 4 at 0x11
        ".file" 000000  00000000  FE FF  00000000  67 01             ; 0AA symbol 0
        11000000 00000000 00000000 00000000 00000000                 ;     name at 17
        "main" 00000000  10000000  01 00  44000000  02 01            ;     2: function returning int
        00000000 0000 0000 7A000000 06000000 00000000                ;     line pointer, end
        ".bf" 0000000000  10000000  01 00  00000000  65 01           ;     4
        00000000 0300 0000 00000000 06000000 00000000                ;     line 3, end
        "local" 000000  05000000  FF FF  02000000  01 00             ;     6: char
        00000000 18000000  20000000  02 00  68000000  03 01          ;     7: name at 24, array of struct
        04000000 0000 0C00 0300 0000 0000 0000 00000000              ;     tag 4, 12 bytes, [3]
        ".eof" 00000000  00000000  FE FF  00000000  6B 00            ;     9
        28000000 "data_section" 00 "main.c" 00 "a_long_variable" 00  ; 172
    )");
    const dump_parts_t parts = {
        .headers =
            "COFF header:\n\tMagic:\t\t0x1240\n\tSections:\t2\n\tDated:\t\tThu Jan  1 00:00:00 1970\n"
            "\tSymptr:\t\t0xAA\n\tNsyms:\t\t10\n\tOpthdr:\t\t18\n\tFlags:\t\t0x1002 Executable New style syms\n\n"
            "Optional header:\n\tMagic:\t\t0x1388 (Norvane Software)\n\tVersion:\t97101\n"
            "\tProcessor:\t0x877\n\tROM width:\t14\n\tRAM width:\t8\n\n",
        .sections = "Section 0: .text: @10 size 0x4 lines 3 relocs 0 flags 0x20\n"
                    "Section 1: data_section: @20 size 0x3 lines 0 relocs 0 flags 0x18083\n",
        .full_sections =
            "Section 0: .text: @10 scnptr 0x76 relptr 0x0 lnnoptr 0x7A size 0x4 lines 3 relocs 0 flags 0x20 ( text )\n"
            "Section 1: data_section: @20 scnptr 0x0 relptr 0x0 lnnoptr 0x0 size 0x3 lines 0 relocs 0 flags 0x18083"
            " ( activation record, access bank, bss, noload )\n",
        .strings = "\nString table: 40 bytes, file offset 0x172\n",
        .string_list = "    4:\tdata_section\n   17:\tmain.c\n   24:\ta_long_variable\n",
        .symbols =
            "Symbol table:\n"
            "    0:\t               file name 1 0[1]\tmain.c [0]\n"
            "    2:\t         external symbol 1 2[1]\tmain = 10: .text function [lineptr 7A, endndx 6] returning int\n"
            "    4:\t              .bf or .ef 1 0[1]\t.bf = 10: .text: line 3, index 6\n"
            "    6:\t      automatic variable 0 1[1]\tlocal = 5: char\n"
            "    7:\t                  static 1 12[12]\ta_long_variable = 20: data_section array [3] of struct [4]\n"
            "    9:\t             end of file 0 0[1]\t.eof\n",
        .lines = "Section 0 line numbers: 3, file offset 0x7A\n"
                 "00003:\tsrcndx: 0, paddr: 0x10, flags 0x0, fcnndx: 2\n"
                 "Symbol: main.c (0)\n"
                 "00004:\tsrcndx: 0, paddr: 0x11, flags 0x1, fcnndx: 2\n",
    };
    return sample_of(file, parts);
}

inline sample_t coff_sample() {
    const std::string file = bytes(R"(
        36 12  02 00  00000000  94000000  0A000000  1C 00  03 01     ; 000 PIC30
        0B 01  01 00  04000000 00000000 02000000                     ; 014 AOUT header
        00010000 00010000 00080000
        ".text" 000000  00010000 00000000 04000000                   ; 030 section 1
        80000000 00000000 84000000  00 00  02 00  20000000
        "longname"      00080000 00000000 02000000                   ; 058 section 2
        00000000 00000000 00000000  00 00  00 00  80000100
        01 02 03 04                                                  ; 080 data
        04000000 00000000  02010000 70110100                         ; 084 opens symbol 4; line 70000 at 0x102
        ".file" 000000  00000000  FE FF  00 00  67 01                ; 094 symbol 0
        "longfile_name.cc" 0000                                      ;     name in place
        ".file" 000000  00000000  FE FF  00 00  67 01                ;     2
        00000000 04000000 00000000 00000000 0000                     ;     name at 4
        "_main" 000000  00010000  01 00  24 00  02 01                ;     4: function returning int
        00000000 0000 0000 84000000 07000000 0000                    ;     line pointer, end
        "counter" 00    00080000  02 00  04 00  03 00                ;     6: int
        ".bb" 0000000000  00000000  FE FF  00 00  64 01              ;     7
        00000000 0500 0000 00000000 09000000 0000                    ;     line 5, end
        "reg" 0000000000  0F000000  FF FF  12 00  04 00              ;     9: pointer to char
        13000000 "other_source.c" 00                                 ; 148
    )");
    const dump_parts_t parts = {
        .headers = "COFF header:\n\tMagic:\t\t0x3612 (PIC30)\n\tSections:\t2\n\tDated:\t\tThu Jan  1 00:00:00 1970\n"
                   "\tSymptr:\t\t0x94\n\tNsyms:\t\t10\n\tOpthdr:\t\t28\n"
                   "\tFlags:\t\t0x103 Stripped Executable 32 bit little endian\n\n"
                   "AOUT optional header:\n\tMagic:\t\t0x10B\n\tVersion:\t0x1\n\tText size:\t0x4\n\tInit. data:\t0x0\n"
                   "\tUninit. data:\t0x2\n\tEntry point:\t0x100\n\tText base:\t0x100\n\tData base:\t0x800\n\n",
        .sections = "Section 1: .text: @100 size 0x4 lines 2 relocs 0 flags 0x20\n"
                    "Section 2: longname: @800 size 0x2 lines 0 relocs 0 flags 0x10080\n",
        .full_sections =
            "Section 1: .text: @100 scnptr 0x80 relptr 0x0 lnnoptr 0x84 size 0x4 lines 2 relocs 0 flags 0x20 ( text )\n"
            "Section 2: longname: @800 scnptr 0x0 relptr 0x0 lnnoptr 0x0 size 0x2 lines 0 relocs 0 flags 0x10080"
            " ( bss )\n",
        .strings = "\nString table: 19 bytes, file offset 0x148\n",
        .string_list = "    4:\tother_source.c\n",
        .symbols =
            "Symbol table:\n"
            "    0: (-2)\t               file name 1 0[1]\tlongfile_name.\n"
            "    2: (-2)\t               file name 1 0[1]\tother_source.c\n"
            "    4: (1)\t         external symbol 1 4[1]\t_main = 100: .text function [lineptr 84, endndx 7] returning "
            "int\n"
            "    6: (2)\t                  static 0 4[1]\tcounter = 800: longname int\n"
            "    7: (-2)\t              .bb or .eb 1 0[1]\t.bb = 0: (abs): line 5, index 9\n"
            "    9: (-1)\t       register variable 0 4[1]\treg = F: pointer to char\n",
        .lines = "Section 1 line numbers: 2, file offset 0x84\nSymbol: _main (4)\n70000:\t102\n",
    };
    return sample_of(file, parts);
}

inline sample_t icoff_sample() {
    const std::string file = bytes(R"(
        01 81  00 02  00000000  00000073  00000009  00 00  10 03     ; 000
        "text1" 000000  00001000 00001000 00000003                   ; 014 section 1
        00000064 00000000 00000067  00 00  00 02  00004020
        "vars" 00000000 00002000 00002000 00000008                   ; 03C section 2
        00000000 00000000 00000000  00 00  00 00  00004080
        0A 0B 0C                                                     ; 064 data
        00000000 0000  00001001 0007                                 ; 067 opens symbol 0; line 7 at 0x1001
        00000001 00000000 00000000 00000000  37 00                   ; 073 symbol 0: a file
        0000000E 00001000 00000000 00000001  01 00                   ;     1: global
        00000009 00001001 00000000 FFFFFFFF  02 1C                   ;     2: a label, absolute
        0000000E 00001000 00000000 00000001  05 00                   ;     3: function entry point
        0000000E 00000003 00000000 00000001  09 00                   ;     4: size of a section
        00000005 00000000 00000000 00000000  14 04                   ;     5: a simple type, signed_16
        00000009 00000002 00000000 00000000  32 12                   ;     6: local variable, uchar and 0x10
        00000000 00000000 00000000 00000000  3C 00                   ;     7: class 60
        00000009 00000000 00000000 00000002  1F 00                   ;     8: a C array type
        00 "a.c" 00 "int" 00 "loop" 00 "start" 00                    ; 115
    )");
    const dump_parts_t parts = {
        .headers = "COFF header:\n\tMagic:\t0601\n\tSections:\t2\n\tDated:\tThu Jan  1 00:00:00 1970\n\tSymptr:\t73\n"
                   "\tNsyms:\t9\n\tOpthdr:\t0\n\tFlags:\t0x1003 Stripped Executable New style syms\n\n",
        .sections = "Section 0: text1: @1000 size 3 lines 2 flags 4020\n"
                    "Section 1: vars: @2000 size 8 lines 0 flags 4080\n",
        .full_sections = "",
        .strings = "String table: 20 bytes\n",
        .string_list = "    0:\t\n    1:\ta.c\n    5:\tint\n    9:\tloop\n   14:\tstart\n\n",
        .symbols = "    0:     1:\t          file name \ta.c\n"
                   "    1:    14:\t      global symbol \tstart = 1000:text1 \n"
                   "    2:     9:\t  non-global symbol \tloop = 1001:(abs) ??type register  function begin\n"
                   "    3:    14:\tfunction entry point\tstart = 1000:text1\n"
                   "    4:    14:\tsection size symbol \tstart, value=3, section=1\n"
                   "    5:     5:\t        simple type \tint signed_16\n"
                   "    6:     9:\t     local variable \tloop = 2:uchar register  function begin\n"
                   "    7:     0:\t           ??Unknown\t\n"
                   "    8:     9:\t       C array type \t\n",
        .lines = "Section 0 line numbers:\n",
    };
    const std::string plain = parts.headers + parts.sections + parts.strings;
    return {file, plain + "\n", plain + parts.symbols + parts.lines + "\n",
            plain + parts.string_list + parts.symbols + parts.lines + "\n"};
}

} // namespace tavrel::testing
