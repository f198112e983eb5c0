#include "beamexpander_fixture.h"

#include "quorvex/quorvex.h"

static std::string WithSum(std::string bytes)
{
    unsigned sum = 0;
    for (const char c : bytes)
        sum += static_cast<unsigned char>(c);
    return bytes + static_cast<char>(sum & 0xFF);
}

static std::string ValueBytes(int32_t value)
{
    std::string bytes;
    for (const int shift : {24, 16, 8, 0})
        bytes += static_cast<char>(static_cast<uint32_t>(value) >> shift & 0xFF);
    return bytes;
}

std::string CommandBytes(int command, int type, int motor, int32_t value)
{
    std::string bytes = "\x01";
    for (const int byte : {command, type, motor})
        bytes += static_cast<char>(byte);
    return WithSum(bytes + ValueBytes(value));
}

std::string ReplyBytes(int command, int32_t value)
{
    std::string bytes = "\x02\x01\x64";
    bytes += static_cast<char>(command);
    return WithSum(bytes + ValueBytes(value));
}

static std::string SectionText(int32_t path, const ExpanderKeys &keys)
{
    return "[BE " + std::to_string(path) + "]\nMI = " + std::to_string(keys.mi) +
           "\nBACKEND = " + std::to_string(keys.backend) +
           "\nSIMULATE = " + std::to_string(keys.simulate) +
           "\nINITPOS = " + std::to_string(keys.initPos) +
           "\nCWLIMIT = " + std::to_string(keys.cwLimit) +
           "\nCCWLIMIT = " + std::to_string(keys.ccwLimit) +
           "\nINISEC = " + std::to_string(keys.iniSec) + "\n";
}

static void ForgetState()
{
    for (ZVK_BeamExpanderState &row : g_beamExpander)
        row = {};
}

void BeamExpanderTest::SetUp()
{
    ForgetState();
    (void)Captured();
    OfferBoards();
}

void BeamExpanderTest::TearDown() { ForgetState(); }

void BeamExpanderTest::WriteConfig(const ExpanderKeys &a, const ExpanderKeys &b) const
{
    folder.Write("config.ini", SectionText(0, a) + SectionText(1, b));
}

void BeamExpanderTest::WriteConfigWithout(const std::string &key) const
{
    std::string text = SectionText(1, {});
    const size_t at = text.find("\n" + key + " ");
    text.erase(at, text.find('\n', at + 1) - at);
    folder.Write("config.ini", SectionText(0, {}) + text);
}

void BeamExpanderTest::OfferBoards()
{
    ports.OfferPorts({"TRINAMIC Stepper Device (COM5)", "Trinamic Stepper Device (COM6)"});
    OfferBoard(kPortOfA, 1);
    OfferBoard(kPortOfB, 2);
}

void BeamExpanderTest::OfferBoard(int port, int32_t owner)
{
    ports.Answer(port, CommandBytes(10, 0, 2, 0), ReplyBytes(10, owner));
    const int settings[][2] = {{6, 80},  {204, 0}, {203, 2048}, {4, 100}, {4, 80},
                               {138, 0}, {5, 100}, {7, 0},      {1, 0},   {4, 200}};
    for (const auto &[type, value] : settings)
        AnswerCommand(port, 5, type, 0, value, ReplyBytes(5, value));
    AnswerCommand(port, 3, 0, 0, 0, ReplyBytes(3, 0));
    AnswerCommand(port, 2, 1, 0, 150, ReplyBytes(2, 150));
    AnswerCommand(port, 6, 1, 0, 0, ReplyBytes(6, 3));
    AnswerCommand(port, 6, 8, 0, 0, ReplyBytes(6, 1));
}

void BeamExpanderTest::AnswerCommand(int port, int command, int type, int motor, int32_t value,
                                     const std::string &reply)
{
    ports.Answer(port, CommandBytes(command, type, motor, value), reply);
}

void BeamExpanderTest::AnswerMove(int port, int32_t steps)
{
    AnswerCommand(port, 4, 1, 0, steps, ReplyBytes(4, steps));
}

void BeamExpanderTest::BringUp(int32_t path, const ExpanderKeys &keys)
{
    WriteConfig(keys, keys);
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, path), 0);
    ASSERT_EQ(g_beamExpander[path].initialized, 1);
    ports.ForgetCalls();
}

void BeamExpanderTest::BringUpBoth(const ExpanderKeys &a, const ExpanderKeys &b)
{
    WriteConfig(a, b);
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), 0);
    ports.ForgetCalls();
}

// Turns the quoted bytes of a recorded call back into bytes.
static std::string Unquoted(const std::string &text)
{
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
        } else if (text[i + 1] == 'x') {
            bytes += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
            i += 3;
        } else {
            bytes += text[++i] == 'r' ? '\r' : '\n';
        }
    }
    return bytes;
}

Calls BeamExpanderTest::Commands()
{
    Calls commands;
    for (const std::string &call : ports.Calls()) {
        if (!call.starts_with("write(")) continue;
        const size_t comma = call.find(',');
        const std::string bytes = Unquoted(call.substr(comma + 3, call.size() - comma - 5));
        const auto byte = [&bytes](size_t i) {
            return std::to_string(static_cast<unsigned char>(bytes.at(i)));
        };
        uint32_t value = 0;
        for (size_t i = 4; i < 8; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes.at(i));
        EXPECT_EQ(WithSum(bytes.substr(0, 8)), bytes) << call;
        commands.push_back(call.substr(6, comma - 6) + ": " + byte(1) + " " + byte(2) + " " +
                           byte(3) + " = " + std::to_string(static_cast<int32_t>(value)));
    }
    ports.ForgetCalls();
    return commands;
}

std::string BeamExpanderTest::InitPos(int32_t path) const
{
    int32_t value = -9999;
    (void)ZVK_ConFile_Read(0, "config.ini", path == 0 ? "BE 0" : "BE 1", "INITPOS", &value,
                           ZVK_CONFILE_LONG);
    return std::to_string(value);
}

int32_t BeamExpanderTest::Position(int32_t path)
{
    int32_t position = -9999;
    (void)ZVK_BeamExpander_GetPosition(0, path, &position);
    return position;
}

std::vector<int32_t> BeamExpanderTest::Captured()
{
    int32_t count = 0;
    (void)ZVK_error_GetWarnings(0, &count, nullptr);
    std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
    (void)ZVK_error_GetWarnings(0, nullptr, codes.data());
    codes.pop_back();
    return codes;
}
