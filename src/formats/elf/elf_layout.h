// The records of an ELF32 file and their numbers. All multi-byte fields lie in the byte order that the header's data
// byte names; offsets and sizes are in bytes.
//
// A file is the 52-byte header, then contents in any order, then (here at the end) the table of section headers and the
// table of program headers, each found by an offset in the header. A section header names a piece of the file for
// linkers and debuggers, a program header names one for loaders.
#pragma once

#include <cstdint>

#include "common/print.h"

namespace tavrel {

// ---- header, 52 bytes
constexpr uint32_t ELF_HEADER_SIZE = 52;
constexpr char ELF_MAGIC[] = "\x7F"
                             "ELF"; // bytes 0 to 3

enum elf_header_t : uint32_t { // offset, width
    EI_CLASS = 4,              // 1
    EI_DATA = 5,               // 1
    EI_VERSION = 6,            // 1
    EI_OSABI = 7,              // 1, then 8 bytes of padding
    E_TYPE = 16,               // 2
    E_MACHINE = 18,            // 2
    E_VERSION = 20,            // 4
    E_ENTRY = 24,              // 4
    E_PHOFF = 28,              // 4, of the program header table
    E_SHOFF = 32,              // 4, of the section header table
    E_FLAGS = 36,              // 4
    E_EHSIZE = 40,             // 2
    E_PHENTSIZE = 42,          // 2
    E_PHNUM = 44,              // 2
    E_SHENTSIZE = 46,          // 2
    E_SHNUM = 48,              // 2
    E_SHSTRNDX = 50,           // 2, index of the section with the sections' names
};

constexpr uint8_t ELFCLASS32 = 1;
constexpr uint8_t ELFDATA2LSB = 1;
constexpr uint8_t ELFDATA2MSB = 2;
constexpr uint8_t EV_CURRENT = 1;
constexpr uint8_t ELFOSABI_STANDALONE = 0xFF;
constexpr uint32_t ET_EXEC = 2;
constexpr uint32_t EM_NONE = 0;
constexpr uint32_t EM_MIPS = 8;
constexpr uint32_t EM_DSPIC30F = 118;

// ---- section header, 40 bytes, ten 32-bit fields
constexpr uint32_t ELF_SECTION_SIZE = 40;

enum elf_section_t : uint32_t { // offset
    SH_NAME = 0,                // offset in .shstrtab
    SH_TYPE = 4,
    SH_FLAGS = 8,
    SH_ADDR = 12,
    SH_OFFSET = 16,
    SH_SIZE = 20,
    SH_LINK = 24,
    SH_INFO = 28,
    SH_ADDRALIGN = 32,
    SH_ENTSIZE = 36,
};

constexpr uint32_t SHT_PROGBITS = 1;
constexpr uint32_t SHT_SYMTAB = 2;
constexpr uint32_t SHT_STRTAB = 3;
constexpr uint32_t SHT_NOTE = 7;
constexpr uint32_t SHT_NOBITS = 8;
constexpr uint32_t SHT_MIPS_DWARF = 0x7000001E;

constexpr uint32_t SHF_WRITE = 1;
constexpr uint32_t SHF_ALLOC = 2;
constexpr uint32_t SHF_EXECINSTR = 4;

// ---- program header, 32 bytes, eight 32-bit fields
constexpr uint32_t ELF_PROGRAM_SIZE = 32;

enum elf_program_t : uint32_t { // offset
    P_TYPE = 0,
    P_OFFSET = 4,
    P_VADDR = 8,
    P_PADDR = 12,
    P_FILESZ = 16,
    P_MEMSZ = 20,
    P_FLAGS = 24,
    P_ALIGN = 28,
};

constexpr uint32_t PT_LOAD = 1;
constexpr uint32_t PT_PHDR = 6;

constexpr uint32_t PF_X = 1;
constexpr uint32_t PF_W = 2;
constexpr uint32_t PF_R = 4;

// ---- symbol, 16 bytes
constexpr uint32_t ELF_SYMBOL_SIZE = 16;

enum elf_symbol_t : uint32_t { // offset, width
    ST_NAME = 0,               // 4, offset in .strtab
    ST_VALUE = 4,              // 4
    ST_SIZE = 8,               // 4
    ST_INFO = 12,              // 1, type in the low half, binding in the high one
    ST_OTHER = 13,             // 1
    ST_SHNDX = 14,             // 2
};

constexpr uint8_t STT_NOTYPE = 0;
constexpr uint8_t STT_OBJECT = 1;
constexpr uint8_t STT_FUNC = 2;
constexpr uint8_t STT_SECTION = 3;
constexpr uint8_t STT_FILE = 4;

constexpr uint8_t STB_LOCAL = 0;
constexpr uint8_t STB_GLOBAL = 1;

constexpr uint32_t SHN_ABS = 0xFFF1;

// ---- machines

struct elf_machine_t {
    uint32_t number; // e_machine
    text_t text;
};

// The dump prints these texts, and a processor's name (-p) selects the first row whose text holds it: rows 8 and 118
// are worded for that.
inline constexpr elf_machine_t elf_machines[] = {
    {0,   "No machine"                                                             },
    {1,   "AT&T WE 32100"                                                          },
    {2,   "SPARC"                                                                  },
    {3,   "Intel 80386"                                                            },
    {4,   "Motorola 68000"                                                         },
    {5,   "Motorola 88000"                                                         },
    {7,   "Intel 80860"                                                            },
    {8,   "MIPS I or PIC32MX Architecture"                                         },
    {9,   "IBM System/370 Processor"                                               },
    {10,  "MIPS RS3000 Little-endian"                                              },
    {15,  "Hewlett-Packard PA-RISC"                                                },
    {17,  "Fujitsu VPP500"                                                         },
    {18,  "Enhanced instruction set SPARC"                                         },
    {19,  "Intel 80960"                                                            },
    {20,  "PowerPC"                                                                },
    {21,  "64-bit PowerPC"                                                         },
    {22,  "IBM System/390 Processor"                                               },
    {36,  "NEC V800"                                                               },
    {37,  "Fujitsu FR20"                                                           },
    {38,  "TRW RH-32"                                                              },
    {39,  "Motorola RCE"                                                           },
    {40,  "Advanced RISC Machines ARM"                                             },
    {41,  "Digital Alpha"                                                          },
    {42,  "Hitachi SH"                                                             },
    {43,  "SPARC Version 9"                                                        },
    {44,  "Siemens TriCore embedded processor"                                     },
    {45,  "Argonaut RISC Core, Argonaut Technologies Inc."                         },
    {46,  "Hitachi H8/300"                                                         },
    {47,  "Hitachi H8/300H"                                                        },
    {48,  "Hitachi H8S"                                                            },
    {49,  "Hitachi H8/500"                                                         },
    {50,  "Intel IA-64 processor architecture"                                     },
    {51,  "Stanford MIPS-X"                                                        },
    {52,  "Motorola ColdFire"                                                      },
    {53,  "Motorola M68HC12"                                                       },
    {54,  "Fujitsu MMA Multimedia Accelerator"                                     },
    {55,  "Siemens PCP"                                                            },
    {56,  "Sony nCPU embedded RISC processor"                                      },
    {57,  "Denso NDR1 microprocessor"                                              },
    {58,  "Motorola Star*Core processor"                                           },
    {59,  "Toyota ME16 processor"                                                  },
    {60,  "STMicroelectronics ST100 processor"                                     },
    {61,  "Advanced Logic Corp. TinyJ embedded processor family"                   },
    {62,  "AMD x86-64 architecture"                                                },
    {63,  "Sony DSP Processor"                                                     },
    {64,  "Digital Equipment Corp. PDP-10"                                         },
    {65,  "Digital Equipment Corp. PDP-11"                                         },
    {66,  "Siemens FX66 microcontroller"                                           },
    {67,  "STMicroelectronics ST9+ 8/16 bit microcontroller"                       },
    {68,  "STMicroelectronics ST7 8-bit microcontroller"                           },
    {69,  "Motorola MC68HC16 Microcontroller"                                      },
    {70,  "Motorola MC68HC11 Microcontroller"                                      },
    {71,  "Motorola MC68HC08 Microcontroller"                                      },
    {72,  "Motorola MC68HC05 Microcontroller"                                      },
    {73,  "Silicon Graphics SVx"                                                   },
    {74,  "STMicroelectronics ST19 8-bit microcontroller"                          },
    {75,  "Digital VAX"                                                            },
    {76,  "Axis Communications 32-bit embedded processor"                          },
    {77,  "Infineon Technologies 32-bit embedded processor"                        },
    {78,  "Element 14 64-bit DSP Processor"                                        },
    {79,  "LSI Logic 16-bit DSP Processor"                                         },
    {80,  "Donald Knuth's educational 64-bit processor"                            },
    {81,  "Harvard University machine-independent object files"                    },
    {82,  "SiTera Prism"                                                           },
    {83,  "Atmel AVR 8-bit microcontroller"                                        },
    {84,  "Fujitsu FR30"                                                           },
    {85,  "Mitsubishi D10V"                                                        },
    {86,  "Mitsubishi D30V"                                                        },
    {87,  "NEC v850"                                                               },
    {88,  "Mitsubishi M32R"                                                        },
    {89,  "Matsushita MN10300"                                                     },
    {90,  "Matsushita MN10200"                                                     },
    {91,  "picoJava"                                                               },
    {92,  "OpenRISC 32-bit embedded processor"                                     },
    {93,  "ARC Cores Tangent-A5"                                                   },
    {94,  "Tensilica Xtensa Architecture"                                          },
    {95,  "Alphamosaic VideoCore processor"                                        },
    {96,  "Thompson Multimedia General Purpose Processor"                          },
    {97,  "National Semiconductor 32000 series"                                    },
    {98,  "Tenor Network TPC processor"                                            },
    {99,  "Trebia SNP 1000 processor"                                              },
    {100, "STMicroelectronics (www.st.com) ST200 microcontroller"                  },
    {101, "Ubicom IP2xxx microcontroller family"                                   },
    {102, "MAX Processor"                                                          },
    {103, "National Semiconductor CompactRISC microprocessor"                      },
    {104, "Fujitsu F2MC16"                                                         },
    {105, "Texas Instruments embedded microcontroller msp430"                      },
    {106, "Analog Devices Blackfin (DSP) processor"                                },
    {107, "S1C33 Family of Seiko Epson processors"                                 },
    {108, "Sharp embedded microprocessor"                                          },
    {109, "Arca RISC Microprocessor"                                               },
    {110, "Microprocessor series from PKU-Unity Ltd. and MPRC of Peking University"},
    {118, "Microchip Technology dsPIC30F DSC"                                      },
};

} // namespace tavrel
