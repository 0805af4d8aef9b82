// The numbers of all messages with the arguments that a text may use, in order: `s` a text, `u` a number. Callers pass
// at least these. Whoever raises a new message adds its row here and a line to each file in dat/; tests hold the rows,
// the files and the calls against each other.
#pragma once

#include <cstdint>

namespace tavrel {

struct message_row_t {
    uint32_t number;
    const char* args;
    bool ends_run = false; // nothing useful can follow: the files describe it as fatal
};

// clang-format off
constexpr message_row_t message_rows[] = {
    { 141, "ss"},           // a file cannot be read: its kind, its name
    { 157, "u"},            // no memory: bytes
    { 337, "u"},            // a line of arguments fills the buffer: its size
    { 378, "ss", true},     // a file cannot be written: its kind, its name
    { 393, ""},             // -w without a number
    { 413, "s"},            // a file could not be written whole: its name
    { 523, "u"},            // a warning level too low: the level, signed
    { 599, ""},             // no code space
    { 600, ""},             // no processor
    { 601, "s"},            // unknown processor: its name
    { 602, "",   true},     // empty format key
    { 603, "s",  true},     // ambiguous format key
    { 604, "s",  true},     // unknown format key
    { 605, "",   true},     // unknown format of an input
    { 606, "",   true},     // symbol count wrong
    { 607, "",   true},     // line count wrong
    { 608, ""},             // --pathspec lacks a part
    { 609, ""},             // -p without a name
    { 610, ""},             // -n without a name
    { 611, "",   true},     // too many inputs
    { 612, "",   true},     // too many outputs
    { 613, "",   true},     // no output
    { 614, "",   true},     // no input
    { 618, ""},             // COD: a code block cannot be read
    { 619, ""},             // COD: a block of a table cannot be read
    { 620, ""},             // COD: a line of an unknown file
    { 621, "ss"},           // a debug section could not be written whole: its name, the file's
    { 622, "s"},            // the type table is full: what did not fit
    { 623, ""},             // type_hash: a part of unknown kind
    { 624, ""},             // type comparison: a part of unknown kind
    { 625, ""},             // COFF: too many file names in a dump
    { 626, ""},             // COFF: a name that is not in the string table
    { 627, "usuu"},         // SDB: a variable not closed: the missing character, file, line, column
    { 629, "ssuu"},         // SDB: unknown class: its letter, file, line, column
    { 630, "s"},            // SDB: no header: file
    { 631, "ssuu"},         // SDB: a token without a place: the token, file, line, column
    { 632, "u"},            // DWARF: size of an address
    { 633, "u"},            // COFF: unknown storage class, signed
    { 634, "s"},            // an input could not be dumped: its name
    { 635, "s"},            // Intel HEX: no colon: file
    { 636, "s"},            // Intel HEX: wrong checksum: file
    { 637, "ss"},           // SDB: an unknown word in the header: the word, file
    { 638, "u"},            // COFF: other version than this
    { 639, ""},             // COFF: a memory of no width
    { 640, ""},             // line program: extended opcode of length 0
    { 641, "u"},            // line program: length of an address
    { 642, ""},             // line program: define_file overruns its length
    { 643, ""},             // line program: define_file does not fill its length
    { 644, "u"},            // line program: length too short for a header
    { 645, ""},             // line program: opcode table too long
    { 646, ""},             // line program: a list without end
    { 647, "uu"},           // line program: header length as measured, as stored
    { 648, "u"},            // line program: offset beyond the section
    { 649, "u"},            // line program: end beyond the section
    { 650, "u"},            // frames: no instruction: the byte
    { 651, "u"},            // frames: length too short for a CIE
    { 652, ""},             // frames: instructions beyond their CIE
    { 653, "u"},            // frames: length too short for an FDE
    { 654, "u"},            // frames: CIE pointer beyond the section
    { 655, "u"},            // frames: CIE pointer to something else
    { 656, ""},             // frames: instructions beyond their FDE
    { 657, "u"},            // frames: length beyond the section
    { 658, ""},             // unit: unknown abbreviation code
    { 659, "u"},            // unit: length too short
    { 660, "u"},            // unit: abbreviations beyond their section: its size
    { 661, "u"},            // unit: size of an address
    { 662, ""},             // unit: padding that is not zero
    { 663, "u"},            // public names: length too short
    { 664, "u"},            // address ranges: length too short
    { 665, ""},             // location expression beyond its size
    { 666, "ss"},           // a section cannot be read: its name, its description
    { 667, ""},             // no abbreviations
    { 668, ""},             // no machine fits
    { 669, ""},             // several machines fit
    { 917, "",   true},     // a word of arguments too long
    {1036, "su"},           // COFF: a header of another size: which, the size that it should have
    {1037, "s"},            // a read falls short: of what
    {1038, ""},             // COFF: string table too small
    {1039, ""},             // COFF: auxiliary records beyond the table
    {1040, "uu"},           // a wrong checksum: type of the record, sum
    {1041, ""},             // a record cut short
    {1042, "su"},           // an unknown record: format, type
    {1043, ""},             // COFF: no optional header
    {1044, "s"},            // UBROF: end where a byte is needed: file
    {1045, "su"},           // UBROF: end inside a number: file, its size
    {1046, "s"},            // UBROF: end inside a name: file
    {1047, "s"},            // UBROF: wrong first byte: file
    {1048, "s"},            // UBROF: wrong time in the header: file
    {1049, "suu"},          // UBROF: wrong CRC: file, bytes, the CRC that they give
    {1050, "s"},            // UBROF: wrong time of a debug record: file
    {1051, "s"},            // UBROF: wrong date of a program record: file
    {1052, "s"},            // UBROF: unknown tag: file
    {1289, ""},             // a gap between two lines
    {1300, "",   true},     // too many code spaces
};
// clang-format on

} // namespace tavrel
