#include "lib/rolling2/rol_mes.h"

#include "tests/unit/lib/rolling2/journal.h"

static std::string argsOf(const CRolMessageInterface& built) {
    const auto* bytes = reinterpret_cast<const char*>(built.Message.ArgsBuffer);
    return {bytes, RolArgsSize(built.Message)};
}

TEST(RolArguments, AreStoredByTypeLengthAndData) {
    using std::string;
    const struct {
        const char* why;
        CRolArg argument;
        string bytes;
        const char* shown;
    } cases[] = {
        {"char", CRolArg('A'), string("\x01\x01") + "A", "65"},
        {"signed char", CRolArg(static_cast<signed char>(-1)), "\x01\x01\xFF", "-1"},
        {"unsigned char", CRolArg(static_cast<unsigned char>(200)), "\x02\x01\xC8", "200"},
        {"short", CRolArg(static_cast<short>(-2)), "\x03\x02\xFE\xFF", "-2"},
        {"unsigned short", CRolArg(static_cast<unsigned short>(65535)), "\x04\x02\xFF\xFF",
         "65535"},
        {"long, 32 bits of it", CRolArg(LONG_MAX - 1), "\x05\x04\xFE\xFF\xFF\xFF", "-2"},
        {"unsigned long", CRolArg(0x1FFFFFFFEUL), "\x06\x04\xFE\xFF\xFF\xFF", "4294967294"},
        {"float", CRolArg(-1.5F), string("\x07\x04\0\0\xC0\xBF", 6), "-1.5"},
        {"double", CRolArg(0.1), "\x08\x08\x9A\x99\x99\x99\x99\x99\xB9\x3F", "0.1"},
        {"text with its NUL", CRolArg("\x92\x85"), string("\x09\x03\x92\x85\0", 5), "\x92\x85"},
        {"empty text", CRolArg(""), string("\x09\x01\0", 3), ""},
        {"no text", CRolArg(static_cast<const char*>(nullptr)), string("\x09\x01\0", 3), ""},
        {"int", CRolArg(-3), "\x0B\x04\xFD\xFF\xFF\xFF", "-3"},
        {"unsigned", CRolArg(4'000'000'000U), string("\x0C\x04\x00\x28\x6B\xEE", 6), "4000000000"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        CRolMessageInterface message;
        message.Start(5, 6, -1, -1);
        ASSERT_EQ(message.AddArg(c.argument), kRolDone);
        EXPECT_EQ(argsOf(message), c.bytes);
        EXPECT_EQ(message.Message.NumberOfArgs, 1);
        const std::string line = message.MakeString(nullptr);
        EXPECT_EQ(line.substr(line.find("5/6")), std::string("5/6: ") + c.shown);
    }
}

TEST(RolArguments, AreRefusedWhereTheRecordEnds) {
    CRolMessageInterface message;
    message.Start(1, 2, -1, -1);
    EXPECT_EQ(message.AddArg(CRolArg(std::string(253, 'x').c_str())), kRolArgumentsOverflow);
    EXPECT_EQ(message.AddArg(CRolArg(RT_NOTYPE)), kRolArgumentType);
    EXPECT_EQ(message.AddArg(CRolArg(RT_INT)), kRolArgumentType) << "no value came with it";
    EXPECT_EQ(message.Message.NumberOfArgs, 0);
    const std::string longest(252, 'x');
    EXPECT_EQ(message.AddArg(CRolArg(longest.c_str())), kRolDone);
    EXPECT_EQ(argsOf(message), "\x09\xFD" + longest + '\0');
    EXPECT_EQ(message.AddArg(CRolArg('x')), kRolArgumentsOverflow);
    EXPECT_EQ(message.Message.NumberOfArgs, 1);
}

TEST(RolMessage, ShowsWhatADamagedOneStillHolds) {
    // A number; one of two bytes, where four belong; one of no such type; a text without a closing
    // NUL, which ends with its length; one longer than the record.
    const std::string arguments("\x02\x01\x09\x0B\x02\0\0\x4D\x01\0\x09\x02xy\x09\xFF", 16);
    SRolMessage message{};
    message.NumberOfArgs = 200;
    arguments.copy(reinterpret_cast<char*>(message.ArgsBuffer), arguments.size());
    EXPECT_GT(RolArgsSize(message), 255U);
    const auto values = RolArguments(message);
    ASSERT_EQ(values.size(), 4U);
    EXPECT_EQ(std::get<std::uint64_t>(values[0].value), 9U);
    EXPECT_EQ(values[1].value.index(), 0U);
    EXPECT_EQ(values[2].type, 77);
    EXPECT_EQ(std::get<std::string>(values[3].value), "xy");
    std::uint8_t raw[sizeof(SRolMessage)];
    EXPECT_EQ(RolWriteRaw(message, raw), 26U) << "its head alone goes to a file";
    EXPECT_EQ(raw[25], 0);
}

TEST(RolMessage, ShowsTheServersMessagesInRussianAndOthersByNumber) {
    const auto shown = [](unsigned code, std::initializer_list<CRolArg> arguments) {
        CRolMessageInterface message;
        message.Start(301, code, -1, -1);
        message.Message.Date = {1'700'000'000, 250};
        for (const auto& argument : arguments)
            EXPECT_EQ(message.AddArg(argument), kRolDone);
        return message.MakeString(nullptr).substr(16);  // from the seconds on
    };
    EXPECT_EQ(shown(18093, {CRolArg(3)}), ":20.250 ЦП 3: OPC UA Сервер: Остановлен"_cp866z);
    EXPECT_EQ(shown(18093, {}), ":20.250 301/18093") << "like any other";
    EXPECT_EQ(shown(5, {CRolArg(1), CRolArg("a")}), ":20.250 301/5: 1, a");
}
