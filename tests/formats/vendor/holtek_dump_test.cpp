// Holtek DBG and TSK files recognised, read and printed, from files put together by hand.
#include <gtest/gtest.h>

#include "support/run.h"

namespace tavrel::testing {
namespace {

// A DBG record from its type and payload.
std::string record(int type, std::string_view payload_text) {
    const std::string payload = bytes(payload_text);
    const size_t length = payload.size() + 1;
    std::string result = {static_cast<char>(type), static_cast<char>(length & 0xFF), static_cast<char>(length >> 8)};
    result += payload;
    int sum = 0;
    for (const char c : result) {
        sum += c;
    }
    return result + static_cast<char>(-sum);
}

std::string with_header(const std::string& records) { return bytes("4A 03 00 01 00 B2 CB 55 55 00") + records; }

result_t dump(const std::string& file, const std::vector<std::string>& options = {}) {
    std::vector<std::string> args = {"-d", "-ihtk", "a.dbg"};
    args.insert(args.end(), options.begin(), options.end());
    return run_program(args, {
                                 {"a.dbg", file}
    });
}

const char* dump_head = "Holtek DBG file dump:\n\n@0000     Debug header, len   2: Header: \n";

TEST(HoltekDump, EveryKindOfRecord) {
    // clang-format off
    const std::string file = with_header(
        record(0x70, "03 \"a.c\" 04 \"long\"") +
        record(0x78, "01 00  04 \"byte\" 34 12 04  03 \"bit\" 00 00 02  00 FF FF 06") +    // symbols 1 to 3
        record(0x78, "81 2C 05  05 \"float\" 01 00 1C  11 \"seventeen_letters\" 02 00 00") + // file 300; 4, 5
        record(0x74, "02 01  07 00 34 12  08 00 36 12") +                                   // lines 1, 2
        record(0x74, "00 00  FF FF FF FF") +                                                // line 3 of no file
        record(0xC2, "01 00 02 00 01 02  01 01 02 81 00") +
        record(0xC2, "FF FF 00 80 03 04") +
        record(0x55, "01 02") +
        record(0xCA, ""));
    // clang-format on
    const result_t result = dump(file);
    EXPECT_EQ(
        std::string(dump_head) +
            "@0006       File names, len   9: \nFile: 'a.c\nFile: 'long\n"
            "@0017      Symbol info, len  21: File index = 1, Section = DATA\n"
            "\t\t            byte = 1234, type = byte\n\t\t             bit = 0000, type = bit\n"
            "\t\t                 = FFFF, type = dword\n"
            "@0030      Symbol info, len  33: File index = 300, Section = CODE\n"
            "\t\t           float = 0001, type = illegal\n\t\tseventeen_letter = 0002, type = near label\n"
            "@0055 Line number info, len  10: File = long, Section = CODE\n"
            "\tLine    7 =  = 1234\n\tLine    8 =  = 1236\n"
            "@0063 Line number info, len   6: File = 4294967295, Section = DATA\n\tLine 65535 =  = FFFF\n"
            "@006D     C scope info, len  11: Block ID = 1, Parent ID = 2, Line range = long:7-8\n"
            "            byte (1)            byte(1)\n             bit (2)          BADSYM(256)\n"
            "@007C     C scope info, len   6: Block ID = 65535, Parent ID = 32768, Line range = 4294967295:65535-4\n"
            "@0086    Unknown(0x55), len   2: \n"
            "@008C         File end, len   0: \n",
        result.out);
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.status);
}

TEST(HoltekDump, HeaderTextAndMarker) {
    // Any three bytes stand behind the marker, and any record may have one.
    const result_t result = dump(record(0x4A, "05 \"HT\" 00 \"K!\"") + bytes("CB CB 4A 00") + record(0xCA, "") +
                                     bytes("CB 00 00 00") + record(0xCA, ""),
                                 {"-v", "-v"});
    EXPECT_EQ("Holtek DBG file dump:\n\n0000: 05 48 54 00 4B 21" + std::string(30, ' ') +
                  " .HT.K!\n"
                  "@0000     Debug header, len   6: Header: HTK!\n@000A         File end, len   0: "
                  "@0012         File end, len   0: \n",
              result.out);
}

struct overrun_case_t {
    int type;
    const char* payload;
    const char* text; // behind the record's length
};

// Nothing but the complaint for the entry that overruns; what stands before it stays.
constexpr overrun_case_t overrun_cases[] = {
    {0x4A, "",                                       "Header: \n"                                                          },
    {0x4A, "09 \"abc\"",                             "Header: abc\n"                                                       },
    {0x70, "01 \"a\" 05 \"four\"",                   "\nFile: 'a\nError in record length\n"                                },
    {0x78, "",                                       "Record length error\n"                                               },
    {0x78, "81",                                     "Record length error\n"                                               },
    {0x78, "01 00 01 \"a\" 00 00 00 01 \"b\" 00 00",
     "File index = 1, Section = DATA\n"
     "\t\t               a = 0000, type = near label\n"
     "Record length error\n"                                                                                               },
    {0x78, "01 00 FF \"b\"",                         "File index = 1, Section = DATA\nRecord length error\n"               },
    {0x74, "01",                                     "Record length error\n"                                               },
    {0x74, "01 00 01 00 02",                         "File = 0, Section = DATA\nRecord length error\n"                     },
    {0xC2, "01 00 02 00 01",                         "Record length error\n"                                               },
    {0xC2, "01 00 02 00 01 81",                      "Record length error\n"                                               },
    {0xC2, "01 00 02 00 01 02 01",                   "Block ID = 1, Parent ID = 2, Line range = 1-2\nRecord length error\n"},
};

TEST(HoltekDump, OverrunsAreToldAndTheNextRecordFollows) {
    for (const overrun_case_t& row : overrun_cases) {
        SCOPED_TRACE(row.payload);
        const result_t result = dump(with_header(record(row.type, row.payload) + record(0xCA, "")));
        const size_t at = result.out.find(": ", std::string(dump_head).size());
        ASSERT_NE(std::string::npos, at);
        const size_t end = result.out.rfind("@");
        EXPECT_EQ(row.text, result.out.substr(at + 2, end - at - 2));
        EXPECT_EQ("", result.err);
    }
}

TEST(HoltekDump, ADamagedRecordEndsThePrint) {
    const files_t messages = {
        {"m", "1040 E 1040 <%02X %02X>\n1041 E 1041\n1042 E 1042 <%s %02X>\n"}
    };
    const auto run = [&messages](const std::string& option, const std::string& records) {
        files_t files = messages;
        files["a.dbg"] = with_header(records);
        return run_program({"--edf=m", option, "-ihtk", "a.dbg", "-os19", "b"}, files);
    };
    std::string broken = record(0x70, "01 \"a\"");
    broken.back() = static_cast<char>(broken.back() + 0x12);
    for (const auto& [records, text] : {
             std::pair(broken, "1040 <70 12>"),
             std::pair(record(0x70, "01 \"a\"").substr(0, 5), "1041"),
             std::pair(bytes("70 02"), "1041"),
             std::pair(bytes("70 00 00"), "1041"), // no room for a checksum
             std::pair(bytes("CB 00 00"), "1041"),
         }) {
        result_t result = run("-d", records);
        EXPECT_NE(std::string::npos, result.err.find(text)) << result.err;
        EXPECT_EQ(std::string(dump_head) + "\n", result.out);
        result = run("-v", records); // a read
        EXPECT_NE(std::string::npos, result.err.find(text)) << result.err;
        EXPECT_EQ(1, result.status);
    }
    // Nothing is read behind it.
    EXPECT_EQ(std::string::npos, run("-d", broken + record(0x70, "01 \"b\"")).out.find("File: 'b"));
    EXPECT_NE(std::string::npos, run("-v", record(0x55, "") + broken).err.find("1042 <DBG 55>"));
    EXPECT_EQ(std::string::npos, run("-v", record(0x55, "") + broken).err.find("1040"));
}

TEST(HoltekDump, Probe) {
    for (const auto& [file, found] : {
             std::pair(bytes("4A 03 00 01 00 B2"), true),
             std::pair(bytes("CB 00 00 00 4A 03 00 01 00 B2"), true),
             std::pair(bytes("4A 03 00 01 00 B3"), false),
             std::pair(bytes("4A 03 00 01 00"), false),
             std::pair(bytes("4A 00 00 00 00 00 00"), false),
             std::pair(record(0x70, ""), false),
         }) {
        const result_t result = run_program(
            {
                "-c", "a"
        },
            {{"a", file}});
        EXPECT_EQ(found, result.err.find("Confirmed as Holtek DBG") != std::string::npos);
        EXPECT_EQ(std::string::npos, result.err.find("(104"));
    }
}

TEST(HoltekDump, SurvivesDamageAnywhere) {
    const std::string good =
        with_header(record(0x70, "03 \"a.c\"") + record(0x78, "01 00 02 \"ab\" 34 12 04") +
                    record(0x74, "01 01 07 00 34 12") + record(0xC2, "01 00 01 00 01 01 01 01") + record(0xCA, ""));
    for (size_t at = 0; at < good.size(); ++at) {
        for (int value = 0; value < 256; value += 5) {
            std::string bad = good;
            bad[at] = static_cast<char>(value);
            const result_t result = dump(bad, {"-v", "-v"});
            ASSERT_EQ(0U, result.out.find("Holtek DBG file dump:\n")) << at;
            ASSERT_LT(result.out.size(), 40 * good.size()) << at;
        }
        // Each payload byte changed with its checksum right.
        std::string bad = good;
        if (at + 1 < good.size() && at > 10) {
            bad[at] = static_cast<char>(bad[at] + 0x90);
            bad[at + 1] = static_cast<char>(bad[at + 1] - 0x90);
            ASSERT_EQ(0U, dump(bad).out.find("Holtek DBG file dump:\n")) << at;
        }
    }
}

// ---- TSK

std::string tsk(std::string_view start_and_length, std::string_view mcu, const std::string& image) {
    std::string name = bytes(mcu);
    name.resize(16);
    return bytes("\"HLabcdef\"") + bytes(start_and_length) + name + image;
}

TEST(HoltekTsk, ReadGivesTheImage) {
    std::string image(300, 'x');
    image[0] = 'a';
    image[299] = 'z';
    const auto read = [](const std::string& file, const std::vector<std::string>& options = {}) {
        std::vector<std::string> args = {"a.tsk", "-v", "-v", "-os19", "b"};
        args.insert(args.end(), options.begin(), options.end());
        return run_program(args, {
                                     {"a.tsk", file}
        });
    };
    result_t result = read(tsk("20 00 00 00 2C 01 00 00", "\"HT48R50\"", image));
    EXPECT_NE(std::string::npos, result.err.find("Confirmed as Holtek TSK"));
    EXPECT_NE(std::string::npos, result.err.find("Data blocks: 1, total size 12C\n\t0-12B seg -1\n")) << result.err;
    EXPECT_EQ(0, result.status);
    // A length beyond the end: whole pieces of 256 stay.
    result = read(tsk("20 00 00 00 FF FF FF FF", "\"\"", image));
    EXPECT_NE(std::string::npos, result.err.find("Data blocks: 1, total size 100\n"));
    EXPECT_EQ(0, result.status);
    // Nothing to take.
    for (const char* numbers : {"20 00 00 00 00 00 00 00", "20 00 01 00 10 00 00 00"}) {
        EXPECT_EQ(std::string::npos, read(tsk(numbers, "\"\"", image)).err.find("Data blocks"));
    }
    EXPECT_EQ(std::string::npos,
              read(tsk("20 00 00 00 01 00 00 00", "\"\"", "").substr(0, 31)).err.find("Data blocks"));
    // Other starts, by force: the image follows the first 16 bytes at once.
    for (const char* start : {"10", "00"}) {
        const result_t forced =
            read(bytes("\"HLabcdef\" " + std::string(start) + " 00 00 00 02 00 00 00 \"xyz\""), {"-itsk"});
        EXPECT_NE(std::string::npos, forced.err.find("Data blocks: 1, total size 2\n"));
    }
}

TEST(HoltekTsk, Dump) {
    const auto run = [](const std::string& file) {
        return run_program(
            {
                "-d", "-itsk", "a"
        },
            {{"a", file}});
    };
    const std::string title = "Holtek TSK file dump:\n\n";
    EXPECT_EQ(title + "version = abcdef; data start = 0x20; length = 0x12345678\nMCU = HT48R50-1\n\n",
              run(tsk("20 00 00 00 78 56 34 12", "\"HT48R50-1\"", "")).out);
    EXPECT_EQ(title + "version = abcdef; data start = 0x20; length = 0x0\nMCU = 0123456789ABCDEF\n\n",
              run(tsk("20 00 00 00 00 00 00 00", "\"0123456789ABCDEF\"", "image")).out);
    result_t result = run(tsk("21 00 00 00 00 00 00 00", "\"x\"", std::string(100, 'x')));
    EXPECT_EQ(title + "version = abcdef; data start = 0x21; length = 0x0\n\n", result.out);
    EXPECT_NE(std::string::npos, result.err.find("(634)"));
    EXPECT_EQ(title + "\n", run("HL").out);
    EXPECT_EQ(1, run(tsk("20 00 00 00 00 00 00 00", "\"x\"", "").substr(0, 31)).status);
    EXPECT_EQ(0, run(tsk("05 00 00 00 00 00 00 00", "\"x\"", "").substr(0, 16)).status);
}

TEST(HoltekTsk, WriteLeavesTheFileEmpty) {
    const result_t result = run_program(
        {
            "a", "-otsk"
    },
        {{"a", tsk("20 00 00 00 00 00 00 00", "\"\"", "")}});
    EXPECT_EQ("", result.files.at("a.tsk"));
    EXPECT_EQ("", result.err);
    EXPECT_EQ(0, result.status);
}

} // namespace
} // namespace tavrel::testing
