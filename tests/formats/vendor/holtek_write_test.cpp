// Holtek DBG files as written. The test takes them apart by itself, checks every checksum, and follows the numbers of
// files, symbols and lines to what they stand for.
#include <gtest/gtest.h>

#include "common/print.h"
#include "support/run.h"

namespace tavrel::testing {
namespace {

struct walker_t {
    std::string file;
    size_t at = 0, end = 0; // within a record's payload
    std::vector<std::string> files, symbols, lines;
    std::string text;

    uint32_t byte() { return at < file.size() ? static_cast<unsigned char>(file[at++]) : 0; }
    uint32_t word() {
        const uint32_t low = byte();
        return low | byte() << 8;
    }
    uint32_t compact() {
        const uint32_t first = byte();
        return first < 0x80 ? first : (first & 0x7F) << 8 | byte();
    }
    std::string name() {
        const size_t size = byte();
        at += size;
        return file.substr(at - size, size);
    }
};

std::string of(const std::vector<std::string>& list, uint32_t number) {
    return number - 1 < list.size() ? list[number - 1] : format_text("#%u", number);
}

void walk_payload(walker_t& w, uint32_t type) {
    if (type == 0x70) {
        w.text += "files";
        while (w.at < w.end) {
            w.files.push_back(w.name());
            print(w.text, " %s", w.files.back());
        }
    } else if (type == 0x78 || type == 0x74) {
        const std::string where = of(w.files, w.compact());
        print(w.text, "%s %s %s:", type == 0x78 ? "symbols" : "lines", where, w.byte() == 0 ? "data" : "code");
        while (w.at < w.end && type == 0x78) {
            w.symbols.push_back(w.name());
            const uint32_t value = w.word();
            print(w.text, " %s=%X/%X", w.symbols.back(), value, w.byte());
        }
        while (w.at < w.end && type == 0x74) {
            const uint32_t number = w.word();
            w.lines.push_back(format_text("%u", number));
            print(w.text, " %u@%X", number, w.word());
        }
    } else if (type == 0xC2) {
        const uint32_t block = w.word();
        print(w.text, "scope %u in %u", block, w.word());
        const uint32_t first = w.compact();
        print(w.text, " lines %s-%s:", of(w.lines, first), of(w.lines, w.compact()));
        while (w.at < w.end) {
            const uint32_t one = w.compact();
            EXPECT_EQ(one, w.compact());
            print(w.text, " %s", of(w.symbols, one));
        }
    } else {
        print(w.text, "%02X", type);
    }
    EXPECT_EQ(w.end, w.at);
    w.text += "\n";
}

// The file as text, a line a record.
std::string walk(const std::string& file) {
    walker_t w;
    w.file = file;
    size_t position = 0;
    while (position < file.size()) {
        w.at = position;
        uint32_t type = w.byte();
        if (type == 0xCB) {
            EXPECT_EQ("CB 55 55 00 ", hex(file.substr(position, 4)));
            position += 4;
            type = w.file[w.at = position], type &= 0xFF, ++w.at;
        }
        const uint32_t length = w.word();
        const size_t next = w.at + length;
        EXPECT_LE(next, file.size());
        uint32_t sum = 0;
        for (size_t k = position; k < next && k < file.size(); ++k) {
            sum += static_cast<unsigned char>(file[k]);
        }
        EXPECT_EQ(0U, sum & 0xFF);
        w.end = next - 1;
        if (type == 0x4A) {
            w.at = w.end;
        }
        walk_payload(w, type);
        position = next;
    }
    return w.text;
}

std::string write(const files_t& files, std::vector<std::string> options = {"-pHT48"}) {
    options.insert(options.end(), {"x.sym", "-ohtk", "x.dbg"});
    return run_program(options, files).files.at("x.dbg");
}

TEST(HoltekWrite, NothingAtAll) {
    const result_t result = run_program(
        {
            "a.hex", "-ohtk"
    },
        {{"a.hex", ":00000001FF\n"}});
    EXPECT_EQ(hex(bytes("4A 03 00 01 00 B2 CB 55 55 00 CA 01 00 35")), hex(result.files.at("a.dbg")));
}

TEST(HoltekWrite, LinkerSymbolsAndLines) {
    // Symbol files and object files have no number; local symbols stay out; an absolute symbol counts as code.
    const std::string file = write({
        {"x.sym", "_start 10 0 CODE\nport 12345 0\n%locals\nA.OBJ\n9 90 0 CODE\na.c\nhidden 1 0 CODE\n3 100 0 CODE\n"
                  "1 104 0 CODE\nempty.c\nb.as\n2 1FFFE 0 CODE\n"}
    });
    EXPECT_EQ(hex(bytes(R"(
        4A 03 00 01 00 B2  CB 55 55 00
        70 0A 00 03 "a.c" 04 "b.as" 29
        78 15 00 00 01 06 "_start" 10 00 01 04 "port" 45 23 01 9C
        74 07 00 00 01 09 00 90 00 EB
        74 0B 00 01 01 01 00 04 01 03 00 00 01 75
        74 07 00 02 01 02 00 FE FF 83
        CA 01 00 35)")),
              hex(file));
}

// A module with a function, a block in it, and variables of all storage classes.
const files_t& sample() {
    static const files_t files = {
        {"x.sym", "_main 100 0 CODE\n_counter 20 0 RAM\n_flag 101 0 RAM\n_other 104 0 RAM\n??_main 40 0 RAM\n"
                  "?_main 30 0 RAM\n_odd 50 0 RAM\n_port 60 0 IO\n_twin 61 0 RAM\n%locals\nx.obj\nx.c\nF3 22 0 RAM\n"
                  "10 100 0 CODE\n12 104 0 CODE\n14 108 0 CODE\n16 10A 0 CODE\n18 110 0 CODE\n"},
        {"x.sdb", "[p HOLTEK ]\n\"1 x.c\n[v _counter `ui 1 e 2 0 ]\n[v _flag `b 1 e 0 0 ]\n[v _gone `uc 1 e 1 0 ]\n"
                  "[v _odd `? 1 e 1 0 ]\n[v _port `uc 1 e 1 0 ]\n"
                  "\"10\n[v _main `(i 1 e 0 0 ]\n{\n\"10\n[v _argc `uc 1 p 1 1 ]\n\"12\n[v F3 `f 1 s 3 seen ]\n"
                  "[v _i `l 1 a 4 2 ]\n[v _r `uc 1 r 1 a ]\n[v _twin `uc 1 r 1 nosuch ]\n\"14\n{\n[v _inner `d 1 a 4 6 "
                  "]\n\"16\n}\n\"18\n}\n"
                  "0 0 0 0\n"                                                                  },
    };
    return files;
}

TEST(HoltekWrite, Tree) {
    // _odd has no type and stays with the linker's symbols; _twin has no place, yet the tree has described it.
    EXPECT_EQ("4A\n"
              "files x.c\n"
              "symbols x.c data: counter=20/5 flag=101/2\n"
              "symbols x.c code: port=60/4 _main=100/1\n"
              "symbols x.c data: argc=31/4 seen=22/1C i=42/6 r=5/4 inner=46/1D\n"
              "symbols #0 code: _other=104/1 ??_main=40/1 ?_main=30/1 _odd=50/1\n"
              "lines x.c code: 10@100 12@104 14@108 16@10A 18@110\n"
              "scope 1 in 1 lines 10-10: counter flag port\n"
              "scope 2 in 1 lines 10-16: argc seen i r\n"
              "scope 3 in 2 lines 14-14: inner\n"
              "CA\n",
              walk(write(sample())));
}

TEST(HoltekWrite, TypesAndNames) {
    const std::pair<const char*, const char*> rows[] = {
        {"_va `uc 1",        " va=200/4"   },
        {"_vb `ui 1",        " vb=201/5"   },
        {"_vc `ul 1",        " vc=202/6"   },
        {"_vd `f 1",         " vd=203/1C"  },
        {"_ve `d 1",         " ve=204/1D"  },
        {"_vf `ui 4a",       " vf=205/5"   }, // an array goes by its elements
        {"_vg `[2]d 3a",     " vg=206/1D"  },
        {"_vh `*uc 1",       " vh=207/4"   },
        {"_vi `*Duc 1",      " vi=208/5"   }, // to program memory
        {"_vj `Dui 1",       " vj=209/4"   }, // a qualifier has no size
        {"_vk `S1 1",        " vk=20A/5"   }, // three bytes
        {"_vl `S2 1",        " vl=20B/4"   }, // five
        {"_vm `v 1",         " vm=20C/4"   },
        {"_vn `b 1",         " vn=20D/2"   },
        {"_F12_count `uc 1", " count=20E/4"},
        {"F12x `uc 1",       " F12x=20F/4" },
        {"F1_2 `uc 1",       " F1_2=210/4" },
        {"F_z `uc 1",        " z=211/4"    },
        {"__o `uc 1",        " _o=212/4"   },
    };
    std::string symbols, tree = "[p HOLTEK ]\n\"1 x.c\n[s S1 . 3 `uc a 1 0 ]\n[s S2 . 5 `uc a 1 0 ]\n", expected;
    uint32_t value = 0x200;
    for (const auto& [variable, text] : rows) {
        const std::string name = variable;
        print(symbols, "%s %X 0 RAM\n", name.substr(0, name.find(' ')), value++);
        print(tree, "[v %s e 1 0 ]\n", name);
        expected += text;
    }
    const std::string text = walk(write({
        {"x.sym", symbols + "%locals\nx.obj\n"},
        {"x.sdb", tree                        }
    }));
    EXPECT_NE(std::string::npos, text.find("symbols x.c data:" + expected + "\n")) << text;
}

TEST(HoltekWrite, ScopesAcrossFiles) {
    // The mark of another file starts a new record, but not in the outermost scope of all.
    const files_t files = {
        {"x.sym", "_a 1 0 RAM\n_b 2 0 RAM\n_c 3 0 RAM\n_f 10 0 CODE\n_g 20 0 CODE\n??_f 30 0 RAM\n%locals\nx.obj\nx.c\n"
                  "5 10 0 CODE\n5 11 0 CODE\n7 12 0 CODE\ni.c\n2 14 0 CODE\n4 16 0 CODE\ny.obj\ny.c\n3 20 0 CODE\n"},
        {"x.sdb",
         "[p HOLTEK ]\n\"1 x.c\n[v _a `uc 1 e 1 0 ]\n\"1 i.c\n[v _b `uc 1 e 1 0 ]\n\"5 x.c\n[v _f `(v 1 e 0 0 ]\n"
         "{\n[v _u `uc 1 a 1 0 ]\n\"3 i.c\n[v _v `uc 1 a 1 1 ]\n\"9 x.c\n}\n0 0 0 0\n"                                              },
        {"y.sdb", "[p HOLTEK ]\n\"1 y.c\n[v _c `uc 1 e 1 0 ]\n[v _g `(v 1 e 0 0 ]\n{\n\"3\n}\n0 0 0 0\n"                            },
    };
    // Lines 1 to 3 of x.c, 4 and 5 of i.c, 6 of y.c. The function's lines are 9 to 9 after the last mark; in x.c that
    // is behind the last entry (3), in i.c behind 5. The mark in the module y changes nothing, so x.c stays.
    EXPECT_EQ("4A\n"
              "files x.c i.c y.c\n"
              "symbols x.c data: a=1/4\nsymbols i.c data: b=2/4\nsymbols x.c code: _f=10/1\n"
              "symbols x.c data: u=30/4\nsymbols i.c data: v=31/4\n"
              "symbols y.c data: c=3/4\nsymbols y.c code: _g=20/1\n"
              "symbols #0 code: ??_f=30/1\n"
              "lines x.c code: 5@10 5@11 7@12\nlines i.c code: 2@14 4@16\nlines y.c code: 3@20\n"
              "scope 1 in 1 lines 5-5: a b\n"
              "scope 2 in 1 lines 7-5: u\n"
              "scope 2 in 1 lines 4-2: v\n"
              "scope 3 in 1 lines 5-5: c\n"
              "CA\n",
              walk(write(files)));
}

TEST(HoltekWrite, FilesOnlyTheTreeKnowsAreNumberedBehind) {
    const std::string text = walk(write({
        {"x.sym", "_a 1 0 RAM\n%locals\nx.obj\nz.c\n1 10 0 CODE\n"            },
        {"x.sdb", "[p HOLTEK ]\n\"1 never.obj\n[v _a `uc 1 e 1 0 ]\n\"1 z.c\n"}
    }));
    EXPECT_EQ("4A\nfiles z.c never.obj\nsymbols never.obj data: a=1/4\nlines z.c code: 1@10\n"
              "scope 1 in 1 lines 1-1: a\nCA\n",
              text);
}

// Payload sizes of the records of one kind.
std::string sizes(const std::string& file, uint32_t wanted) {
    std::string text;
    for (size_t at = 10; at < file.size();) {
        const uint32_t type = static_cast<unsigned char>(file[at]);
        const uint32_t length = static_cast<unsigned char>(file[at + 1]) | static_cast<unsigned char>(file[at + 2])
                                                                               << 8;
        if (type == wanted) {
            print(text, "%u ", length - 1);
        }
        at += 3 + length;
    }
    return text;
}

// `count` global symbols of six characters and lines of one file.
std::string many(uint32_t count) {
    std::string symbols, lines = "%locals\na.c\n";
    for (uint32_t k = 0; k < count; ++k) {
        print(symbols, "s%05u %X 0 CODE\n", k, k);
        print(lines, "%u %X 0 CODE\n", k + 1, k);
    }
    return symbols + lines;
}

TEST(HoltekWrite, RecordsEndWhenTheBufferRunsFull) {
    // A symbol takes 10 bytes and a head 2: behind 77 symbols fewer than 257 of 1024 bytes are left. A line takes 4
    // bytes and is added as long as there is room: 255 lines.
    const std::string file = write({
        {"x.sym", many(300)}
    });
    EXPECT_EQ("772 772 772 692 ", sizes(file, 0x78));
    EXPECT_EQ("1022 182 ", sizes(file, 0x74));
    const std::string text = walk(file);
    EXPECT_NE(std::string::npos, text.find(" s00076=4C/1\nsymbols #0 code: s00077=4D/1 "));
    EXPECT_NE(std::string::npos, text.find(" 255@FE\nlines a.c code: 256@FF "));
}

TEST(HoltekWrite, TheBufferGrowsWithWhatTheRunHasRead) {
    // Before it is known as an image, the probe takes "HL0" for a record of 0x304C bytes.
    const std::string image = bytes("\"HL000000\" 20 00 00 00 00 00 00 00") + std::string(16, '\0');
    const result_t result = run_program(
        {
            "x.sym", "i.tsk", "-ohtk", "x.dbg"
    },
        {{"x.sym", many(1400)}, {"i.tsk", image}});
    EXPECT_EQ("13132 872 ", sizes(result.files.at("x.dbg"), 0x78)); // 0x304C + 1024 - 257 = 13131
    EXPECT_EQ("5602 ", sizes(result.files.at("x.dbg"), 0x74));
}

TEST(HoltekWrite, NumbersAbove127TakeTwoBytes) {
    std::string symbols = "first 0 0 CODE\n%locals\n";
    for (uint32_t k = 1; k <= 130; ++k) {
        print(symbols, "f%u.c\n1 %X 0 CODE\n", k, k);
    }
    const std::string file = write({
        {"x.sym", symbols}
    });
    EXPECT_NE(std::string::npos, file.find(bytes("74 07 00 7F 01 01 00 7F 00")));
    EXPECT_NE(std::string::npos, file.find(bytes("74 08 00 80 80 01 01 00 80 00")));
    EXPECT_NE(std::string::npos, walk(file).find("lines f130.c code: 1@82\n"));
}

TEST(HoltekWrite, WhatOneWriterLeavesTheNextFinds) {
    const auto run = [](std::vector<std::string> args) {
        args.insert(args.begin(), {"-pHT48", "x.sym"});
        return run_program(args, sample());
    };
    // COD has a label for _twin when it comes first, but none when Holtek DBG has described it.
    const std::string label = bytes("05 \"_twin\"");
    EXPECT_NE(std::string::npos, run({"-ocod", "a", "-ohtk", "b"}).files.at("a.cod").find(label));
    EXPECT_EQ(std::string::npos, run({"-ohtk", "b", "-ocod", "a"}).files.at("a.cod").find(label));
    EXPECT_EQ(walk(run({"-ohtk", "b"}).files.at("b.dbg")), walk(run({"-ocod", "a", "-ohtk", "b"}).files.at("b.dbg")));
}

} // namespace
} // namespace tavrel::testing
