// Registered messages inside one process and between processes.

#include "quorvex/messages.h"

#include "other_process.h"
#include "scratch_folder.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <map>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

constexpr double kPatienceS = 20.0;
constexpr const char *kFolderVariable = "XDG_RUNTIME_DIR";

// The processes of this program meet in a folder of their own. A second process takes it over.
class MeetingPlace : public testing::Environment
{
public:
    void SetUp() override
    {
        if (std::getenv("ZVK_TEST_MEETING")) return;
        m_folder = std::make_unique<ScratchFolder>();
        setenv("ZVK_TEST_MEETING", "1", 1);
        setenv(kFolderVariable, m_folder->Path().c_str(), 1);
    }

    void TearDown() override { m_folder.reset(); }

private:
    std::unique_ptr<ScratchFolder> m_folder;
};

static testing::Environment *const s_place = testing::AddGlobalTestEnvironment(new MeetingPlace);

static std::string MeetingFolder()
{
    const char *runtime = std::getenv(kFolderVariable);
    return std::string(runtime ? runtime : "") + "/quorvex";
}

static std::vector<std::string> Inboxes(const std::string &stem = "")
{
    std::vector<std::string> names;
    std::error_code absent;
    for (const auto &entry : fs::directory_iterator(MeetingFolder(), absent))
        if (entry.path().filename().string().starts_with(stem))
            names.push_back(entry.path().string());
    return names;
}

static std::vector<std::string> OwnInboxes() { return Inboxes(std::to_string(getpid()) + "-"); }

static int32_t Listen(uint32_t id, ZVK_MessageCallback callback = nullptr, void *data = nullptr)
{
    int32_t listener = 0;
    EXPECT_EQ(ZVK_Messages_Listen(id, callback, data, &listener), 0);
    EXPECT_GT(listener, 0);
    return listener;
}

using Pair = std::pair<int64_t, int64_t>;

static Pair Next(int32_t listener)
{
    Pair numbers = {-1, -1};
    EXPECT_EQ(ZVK_Messages_Wait(listener, kPatienceS, &numbers.first, &numbers.second), 0);
    return numbers;
}

static void ExpectSilence(int32_t listener)
{
    EXPECT_EQ(ZVK_Messages_Wait(listener, 0.0, nullptr, nullptr), ZVK_MESSAGES_TIMED_OUT);
}

TEST(MessageIds, AreMadeOfTheNamesHash)
{
    // FNV-1a of 32 bits: "a" 0xE40C292C, "foobar" 0xBF9CF968, as published with the algorithm.
    EXPECT_EQ(ZVK_Messages_Register("a"), 0xC000u + 0xE40C292Cu % 0x4000u);
    EXPECT_EQ(ZVK_Messages_Register("foobar"), 0xC000u + 0xBF9CF968u % 0x4000u);
    EXPECT_EQ(ZVK_Messages_Register("a"), ZVK_Messages_Register("a"));
}

TEST(MessageIds, OfTheNamesInUseDiffer)
{
    const uint32_t mouse = ZVK_Messages_Register("ZVK_MOUSE_EVENT");
    const uint32_t buffer = ZVK_Messages_Register("ZVK_FORCE_BUFFER");
    const uint32_t detector = ZVK_Messages_Register("DKLEVENT");
    for (const uint32_t id : {mouse, buffer, detector}) {
        EXPECT_GE(id, 0xC000u);
        EXPECT_LE(id, 0xFFFFu);
    }
    EXPECT_NE(mouse, buffer);
    EXPECT_NE(buffer, detector);
    EXPECT_NE(detector, mouse);
}

TEST(MessageIds, NoNameGivesNone)
{
    EXPECT_EQ(ZVK_Messages_Register(nullptr), 0u);
    EXPECT_EQ(ZVK_Messages_Register(""), 0u);
}

static uint32_t HashOf(const std::string &name)
{
    uint32_t hash = 0x811C9DC5;
    for (const char c : name)
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x01000193;
    return hash;
}

// Two names with one id and different hashes.
static std::pair<std::string, std::string> NamesThatCollide()
{
    std::map<uint32_t, std::string> seen;
    for (int i = 0;; ++i) {
        const std::string name = "collide" + std::to_string(i);
        const auto [place, isNew] = seen.emplace(HashOf(name) % 0x4000, name);
        if (!isNew) return {place->second, name};
    }
}

TEST(MessageIds, TheSecondNameOfAnIdIsRefused)
{
    const auto [first, second] = NamesThatCollide();
    EXPECT_NE(ZVK_Messages_Register(first.c_str()), 0u);
    EXPECT_EQ(ZVK_Messages_Register(second.c_str()), 0u);
    EXPECT_NE(ZVK_Messages_Register(first.c_str()), 0u);
}

TEST(Messages, PostsOfThisProcessComeInTheirOrderWithBothNumbers)
{
    const uint32_t id = ZVK_Messages_Register("order");
    const int32_t listener = Listen(id);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 2), 0);
    EXPECT_EQ(ZVK_Messages_Post(id, INT64_MIN, INT64_MAX), 0);
    EXPECT_EQ(ZVK_Messages_Post(id, -3, 0), 0);
    EXPECT_EQ(Next(listener), Pair(1, 2));
    EXPECT_EQ(Next(listener), Pair(INT64_MIN, INT64_MAX));
    EXPECT_EQ(Next(listener), Pair(-3, 0));
    ExpectSilence(listener);  // each came once
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Messages, EachListenerOfTheIdGetsThemAndNoOther)
{
    const uint32_t id = ZVK_Messages_Register("each");
    const uint32_t otherId = ZVK_Messages_Register("each-other");
    const int32_t first = Listen(id);
    const int32_t second = Listen(id);
    const int32_t other = Listen(otherId);
    EXPECT_EQ(ZVK_Messages_Post(id, 5, 6), 0);
    EXPECT_EQ(Next(first), Pair(5, 6));
    EXPECT_EQ(Next(second), Pair(5, 6));
    ExpectSilence(other);
    for (const int32_t listener : {first, second, other})
        EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Messages, PostsBeforeTheListeningAreNotHeard)
{
    const uint32_t id = ZVK_Messages_Register("before");
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    const int32_t listener = Listen(id);
    ExpectSilence(listener);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Messages, WrongArgumentsAreTold)
{
    const uint32_t id = ZVK_Messages_Register("wrong");
    int32_t listener = 7;
    EXPECT_EQ(ZVK_Messages_Post(0, 1, 1), ZVK_MESSAGES_UNKNOWN_ID);
    EXPECT_EQ(ZVK_Messages_Post(0xBFFF, 1, 1), ZVK_MESSAGES_UNKNOWN_ID);
    EXPECT_EQ(ZVK_Messages_Listen(0, nullptr, nullptr, nullptr), ZVK_MESSAGES_BAD_ARGUMENT);
    EXPECT_EQ(ZVK_Messages_Listen(0, nullptr, nullptr, &listener), ZVK_MESSAGES_UNKNOWN_ID);
    EXPECT_EQ(listener, 0);
    EXPECT_EQ(ZVK_Messages_Unlisten(0), ZVK_MESSAGES_UNKNOWN_LISTENER);
    EXPECT_EQ(ZVK_Messages_Unlisten(123456), ZVK_MESSAGES_UNKNOWN_LISTENER);
    EXPECT_EQ(ZVK_Messages_Wait(123456, 0.0, nullptr, nullptr), ZVK_MESSAGES_UNKNOWN_LISTENER);
    EXPECT_EQ(ZVK_Messages_Wait(123456, std::nan(""), nullptr, nullptr), ZVK_MESSAGES_BAD_ARGUMENT);

    const int32_t called = Listen(id, [](uint32_t, int64_t, int64_t, void *) {});
    EXPECT_EQ(ZVK_Messages_Wait(called, 0.0, nullptr, nullptr), ZVK_MESSAGES_BAD_ARGUMENT);
    EXPECT_EQ(ZVK_Messages_Unlisten(called), 0);
    EXPECT_EQ(ZVK_Messages_Unlisten(called), ZVK_MESSAGES_UNKNOWN_LISTENER);
}

TEST(Messages, AWaitThatTimesOutLeavesTheNumbers)
{
    const int32_t listener = Listen(ZVK_Messages_Register("quiet"));
    int64_t first = 11;
    int64_t second = 12;
    EXPECT_EQ(ZVK_Messages_Wait(listener, 0.0, &first, &second), ZVK_MESSAGES_TIMED_OUT);
    EXPECT_EQ(ZVK_Messages_Wait(listener, 0.01, &first, &second), ZVK_MESSAGES_TIMED_OUT);
    EXPECT_EQ(first, 11);
    EXPECT_EQ(second, 12);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Messages, ANumberMayBeLeftOut)
{
    const uint32_t id = ZVK_Messages_Register("half");
    const int32_t listener = Listen(id);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 2), 0);
    EXPECT_EQ(ZVK_Messages_Wait(listener, kPatienceS, nullptr, nullptr), 0);
    ExpectSilence(listener);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Messages, BeyondTenThousandWaitingTheNewOnesAreDropped)
{
    const uint32_t id = ZVK_Messages_Register("flood");
    const int32_t listener = Listen(id);
    for (int64_t i = 0; i < 10'001; ++i)
        ASSERT_EQ(ZVK_Messages_Post(id, i, 0), 0);
    for (int64_t i = 0; i < 10'000; ++i)
        ASSERT_EQ(Next(listener), Pair(i, 0));
    ExpectSilence(listener);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

struct CallbackSeen
{
    std::atomic<int> calls{0};
    std::atomic<int64_t> sum{0};
    std::atomic<uint32_t> id{0};
    std::atomic<bool> onAnotherThread{false};
    std::thread::id tester = std::this_thread::get_id();
    std::atomic<int> release{1};  // 0: the callback waits until it is 1
    std::atomic<int> entered{0};
    std::atomic<int32_t> endsListener{0};
};

static void SeeMessage(uint32_t id, int64_t first, int64_t second, void *data)
{
    CallbackSeen &seen = *static_cast<CallbackSeen *>(data);
    seen.entered = 1;
    seen.entered.notify_all();
    seen.release.wait(0);
    seen.id = id;
    seen.sum += first * 1000 + second;
    seen.onAnotherThread = std::this_thread::get_id() != seen.tester;
    const int32_t ends = seen.endsListener;
    EXPECT_EQ(ends > 0 ? ZVK_Messages_Unlisten(ends) : 0, 0);
    ++seen.calls;
    seen.calls.notify_all();
}

static void AwaitCalls(CallbackSeen &seen, int calls)
{
    for (int now = seen.calls; now < calls; now = seen.calls)
        seen.calls.wait(now);
}

TEST(MessageCallback, GetsIdNumbersAndDataOnAThreadOfItsOwn)
{
    const uint32_t id = ZVK_Messages_Register("called");
    CallbackSeen seen;
    const int32_t listener = Listen(id, SeeMessage, &seen);
    EXPECT_EQ(ZVK_Messages_Post(id, 3, 4), 0);
    AwaitCalls(seen, 1);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
    EXPECT_EQ(seen.id, id);
    EXPECT_EQ(seen.sum, 3004);
    EXPECT_TRUE(seen.onAnotherThread);
}

TEST(MessageCallback, UnlistenWaitsForARunningCallback)
{
    const uint32_t id = ZVK_Messages_Register("running");
    CallbackSeen seen;
    seen.release = 0;
    const int32_t listener = Listen(id, SeeMessage, &seen);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    seen.entered.wait(0);
    std::thread ender([&] { EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0); });
    seen.release = 1;
    seen.release.notify_all();
    ender.join();
    const int calls = seen.calls;
    EXPECT_GE(calls, 1);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    EXPECT_EQ(seen.calls, calls);
}

TEST(MessageCallback, MayEndItsOwnListener)
{
    const uint32_t id = ZVK_Messages_Register("own");
    CallbackSeen seen;
    seen.release = 0;
    const int32_t listener = Listen(id, SeeMessage, &seen);
    const int32_t witness = Listen(id);
    seen.endsListener = listener;
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    seen.release = 1;
    seen.release.notify_all();
    AwaitCalls(seen, 1);
    EXPECT_EQ(Next(witness), Pair(1, 1));
    EXPECT_EQ(Next(witness), Pair(1, 1));
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), ZVK_MESSAGES_UNKNOWN_LISTENER);
    EXPECT_EQ(ZVK_Messages_Unlisten(witness), 0);
    EXPECT_EQ(seen.calls, 1);
}

TEST(MessageCallback, SlowOneHoldsUpNoOther)
{
    const uint32_t id = ZVK_Messages_Register("slow");
    CallbackSeen slow;
    CallbackSeen quick;
    slow.release = 0;
    const int32_t slowListener = Listen(id, SeeMessage, &slow);
    const int32_t quickListener = Listen(id, SeeMessage, &quick);
    for (int i = 0; i < 50; ++i)
        EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    AwaitCalls(quick, 50);
    EXPECT_EQ(slow.calls, 0);
    slow.release = 1;
    slow.release.notify_all();
    AwaitCalls(slow, 50);
    EXPECT_EQ(ZVK_Messages_Unlisten(slowListener), 0);
    EXPECT_EQ(ZVK_Messages_Unlisten(quickListener), 0);
}

TEST(Messages, EndingAListenerWakesThoseWhoWait)
{
    const int32_t listener = Listen(ZVK_Messages_Register("woken"));
    std::atomic<int32_t> result{0};
    std::thread waiter([&] { result = ZVK_Messages_Wait(listener, -1.0, nullptr, nullptr); });
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);  // before or in the middle of the wait
    waiter.join();
    EXPECT_EQ(result, ZVK_MESSAGES_UNKNOWN_LISTENER);
}

TEST(Inbox, IsThereWhileSomebodyListensAndNobodyElseCanEnter)
{
    EXPECT_TRUE(OwnInboxes().empty());
    const uint32_t id = ZVK_Messages_Register("inbox");
    const int32_t first = Listen(id);
    const int32_t second = Listen(id);
    EXPECT_EQ(OwnInboxes().size(), 1u);
    struct stat facts
    {
    };
    ASSERT_EQ(stat(MeetingFolder().c_str(), &facts), 0);
    EXPECT_EQ(facts.st_mode & 0777, 0700u);
    EXPECT_EQ(facts.st_uid, geteuid());
    EXPECT_EQ(ZVK_Messages_Unlisten(first), 0);
    EXPECT_EQ(OwnInboxes().size(), 1u);
    EXPECT_EQ(ZVK_Messages_Unlisten(second), 0);
    EXPECT_TRUE(OwnInboxes().empty());
}

TEST(Inbox, AFolderThatWasTakenAwayIsMadeAgain)
{
    const uint32_t id = ZVK_Messages_Register("taken away");
    const int32_t before = Listen(id);
    EXPECT_EQ(ZVK_Messages_Unlisten(before), 0);
    fs::remove_all(MeetingFolder());
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), ZVK_MESSAGES_ONLY_THIS_PROCESS);
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    fs::remove_all(MeetingFolder());
    const int32_t listener = Listen(id);
    EXPECT_EQ(OwnInboxes().size(), 1u);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

// What travels, as another program might make it.
struct WireRecord
{
    uint32_t magic = 0x5A564B31;
    uint32_t id = 0;
    uint32_t hash = 0;
    uint32_t reserved = 0;
    uint64_t poster = 1;
    int64_t first = 0;
    int64_t second = 0;
};

static void SendRaw(const std::string &inbox, const void *bytes, size_t count)
{
    const int sender = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(inbox.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, inbox.c_str(), inbox.size());
    EXPECT_EQ(
        sendto(sender, bytes, count, 0, reinterpret_cast<sockaddr *>(&address), sizeof address),
        static_cast<ssize_t>(count));
    EXPECT_EQ(close(sender), 0);
}

TEST(Inbox, PassesOverWhatIsNoMessage)
{
    const std::string name = "junk";
    const uint32_t id = ZVK_Messages_Register(name.c_str());
    const int32_t listener = Listen(id);
    ASSERT_EQ(OwnInboxes().size(), 1u);
    const std::string inbox = OwnInboxes().front();

    WireRecord good;
    good.id = id;
    good.hash = HashOf(name);
    good.first = 8;
    good.second = 9;
    WireRecord wrongMagic = good;
    wrongMagic.magic = 0;
    WireRecord otherName = good;  // whose id is the same by chance
    otherName.hash += 0x4000;
    const std::string tooLong(500, 'x');

    SendRaw(inbox, "", 0);
    SendRaw(inbox, &good, sizeof good - 1);
    SendRaw(inbox, tooLong.data(), tooLong.size());
    SendRaw(inbox, &wrongMagic, sizeof wrongMagic);
    SendRaw(inbox, &otherName, sizeof otherName);
    SendRaw(inbox, &good, sizeof good);
    EXPECT_EQ(Next(listener), Pair(8, 9));
    ExpectSilence(listener);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(Inbox, APostTakesAwayDeadInboxesAndNothingElse)
{
    const uint32_t id = ZVK_Messages_Register("dead");
    const int32_t listener = Listen(id);  // makes the folder
    const std::string dead = MeetingFolder() + "/999999999-1";
    const std::string other = MeetingFolder() + "/notes-1.txt";
    const int inbox = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    ASSERT_LT(dead.size(), sizeof address.sun_path);
    std::memcpy(address.sun_path, dead.c_str(), dead.size());
    ASSERT_EQ(bind(inbox, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(close(inbox), 0);  // as when its process was killed
    std::ofstream(other) << "text";
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    EXPECT_FALSE(fs::exists(dead));
    EXPECT_TRUE(fs::exists(other));
    EXPECT_EQ(OwnInboxes().size(), 1u);
    EXPECT_TRUE(fs::remove(other));
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

// The roles of a second process. It tells that it listens by "ready", with its process number.

static void TellReady()
{
    EXPECT_EQ(ZVK_Messages_Post(ZVK_Messages_Register("ready"), getpid(), 0), 0);
}

TEST(DISABLED_Role, AnswersEachQuestion)
{
    const uint32_t answer = ZVK_Messages_Register("answer");
    const int32_t questions = Listen(ZVK_Messages_Register("question"));
    TellReady();
    for (;;) {
        const Pair numbers = Next(questions);
        if (HasFailure() || numbers.second == 0) break;
        EXPECT_EQ(ZVK_Messages_Post(answer, numbers.first, numbers.second * 2), 0);
    }
}

TEST(DISABLED_Role, ListensUntilItIsKilled)
{
    const int32_t listener = Listen(ZVK_Messages_Register("question"));
    TellReady();
    (void)ZVK_Messages_Wait(listener, -1.0, nullptr, nullptr);
}

TEST(DISABLED_Role, LeavesWhileItListens)
{
    const uint32_t id = ZVK_Messages_Register("own traffic");
    for (int i = 0; i < 3; ++i)
        (void)Listen(id, [](uint32_t message, int64_t first, int64_t second, void *) {
            (void)ZVK_Messages_Post(message, first, second);  // for ever
        });
    EXPECT_EQ(ZVK_Messages_Post(id, 1, 1), 0);
    TellReady();
    std::exit(0);
}

TEST(DISABLED_Role, CountsQuestionsUntilZero)
{
    const int32_t questions = Listen(ZVK_Messages_Register("question"));
    TellReady();
    int64_t count = 0;
    while (Next(questions).second != 0 && !HasFailure())
        ++count;
    EXPECT_EQ(ZVK_Messages_Post(ZVK_Messages_Register("answer"), count, 0), 0);
}

static int ForkedChild(int32_t parentsListener, uint32_t id)
{
    if (ZVK_Messages_Wait(parentsListener, 0.0, nullptr, nullptr) != ZVK_MESSAGES_UNKNOWN_LISTENER)
        return 2;
    if (ZVK_Messages_Unlisten(parentsListener) != ZVK_MESSAGES_UNKNOWN_LISTENER) return 3;
    if (ZVK_Messages_Post(id, 77, 78) != 0) return 4;  // the names are known
#if !defined(__SANITIZE_THREAD__)                      // which allows no threads behind such a fork
    int32_t own = 0;
    if (ZVK_Messages_Listen(id, nullptr, nullptr, &own) != 0) return 5;
    if (ZVK_Messages_Post(id, 79, 80) != 0) return 6;
    int64_t first = 0;
    if (ZVK_Messages_Wait(own, kPatienceS, &first, nullptr) != 0 || first != 79) return 7;
#endif
    return 0;
}

// A thread that is just being made may hold a lock of the address sanitizer's heap, which a forked
// child then waits for in vain. A message from outside has woken each of them once.
static void AwaitAllThreads(uint32_t id, const std::string &name, int32_t kept, CallbackSeen &seen)
{
    WireRecord record;
    record.id = id;
    record.hash = HashOf(name);
    ASSERT_EQ(OwnInboxes().size(), 1u);
    SendRaw(OwnInboxes().front(), &record, sizeof record);
    EXPECT_EQ(Next(kept), Pair(0, 0));
    AwaitCalls(seen, 1);
}

TEST(DISABLED_Role, ForksWhileItListens)
{
    const uint32_t id = ZVK_Messages_Register("forked");
    CallbackSeen seen;
    const int32_t kept = Listen(id);
    const int32_t called = Listen(id, SeeMessage, &seen);
    AwaitAllThreads(id, "forked", kept, seen);
    const pid_t child = fork();
    if (child == 0) std::exit(ForkedChild(kept, id));
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Next(kept), Pair(77, 78));  // the child is another process now
    EXPECT_EQ(OwnInboxes().size(), 1u);   // and its end leaves the parent's inbox
    EXPECT_TRUE(Inboxes(std::to_string(child) + "-").empty());
    AwaitCalls(seen, 2);
    EXPECT_EQ(ZVK_Messages_Unlisten(kept), 0);
    EXPECT_EQ(ZVK_Messages_Unlisten(called), 0);
}

#if !defined(__SANITIZE_ADDRESS__)  // whose own checks need file numbers
TEST(DISABLED_Role, HasNoFileNumbersLeft)
{
    const uint32_t id = ZVK_Messages_Register("alone");
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    int32_t listener = 0;
    EXPECT_EQ(ZVK_Messages_Listen(id, nullptr, nullptr, &listener), ZVK_MESSAGES_ONLY_THIS_PROCESS);
    EXPECT_GT(listener, 0);
    EXPECT_EQ(ZVK_Messages_Post(id, 5, 6), ZVK_MESSAGES_ONLY_THIS_PROCESS);
    EXPECT_EQ(Next(listener), Pair(5, 6));
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
    EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);  // the thread sanitizer wants some at the end
}
#endif

TEST(DISABLED_Role, ListensElsewhere)
{
    (void)Listen(ZVK_Messages_Register("elsewhere"));
    EXPECT_TRUE(OwnInboxes().empty());
}

struct TwoProcesses : testing::Test
{
    ~TwoProcesses() override
    {
        EXPECT_EQ(ZVK_Messages_Unlisten(ready), 0);
        EXPECT_EQ(ZVK_Messages_Unlisten(answers), 0);
    }

    uint32_t question = ZVK_Messages_Register("question");
    int32_t answers = Listen(ZVK_Messages_Register("answer"));
    int32_t ready = Listen(ZVK_Messages_Register("ready"));
};

TEST_F(TwoProcesses, TalkToEachOther)
{
    OtherProcess other("DISABLED_Role.AnswersEachQuestion");
    EXPECT_EQ(Next(ready), Pair(other.Number(), 0));
    for (int64_t i = 1; i <= 500; ++i) {
        ASSERT_EQ(ZVK_Messages_Post(question, i, i), 0);
        ASSERT_EQ(Next(answers), Pair(i, 2 * i));
    }
    EXPECT_EQ(ZVK_Messages_Post(question, 0, 0), 0);
    EXPECT_EQ(other.Wait(), 0);
    ExpectSilence(answers);
}

TEST_F(TwoProcesses, APostReachesEveryOne)
{
    OtherProcess first("DISABLED_Role.AnswersEachQuestion");
    OtherProcess second("DISABLED_Role.AnswersEachQuestion");
    (void)Next(ready);
    (void)Next(ready);
    ASSERT_EQ(ZVK_Messages_Post(question, 4, 5), 0);
    EXPECT_EQ(Next(answers), Pair(4, 10));
    EXPECT_EQ(Next(answers), Pair(4, 10));
    EXPECT_EQ(ZVK_Messages_Post(question, 0, 0), 0);
    EXPECT_EQ(first.Wait(), 0);
    EXPECT_EQ(second.Wait(), 0);
}

TEST_F(TwoProcesses, AProcessThatLeavesTakesItsInboxWithIt)
{
    for (int i = 0; i < 5; ++i) {
        OtherProcess other("DISABLED_Role.LeavesWhileItListens");
        const std::string stem = std::to_string(other.Number()) + "-";
        EXPECT_EQ(Next(ready).first, other.Number());
        EXPECT_EQ(other.Wait(), 0);
        EXPECT_TRUE(Inboxes(stem).empty());
    }
}

TEST_F(TwoProcesses, TheInboxOfAKilledProcessGoesWithTheNextPost)
{
    OtherProcess other("DISABLED_Role.ListensUntilItIsKilled");
    const std::string stem = std::to_string(other.Number()) + "-";
    (void)Next(ready);
    EXPECT_EQ(Inboxes(stem).size(), 1u);
    other.Send(SIGKILL);
    EXPECT_EQ(other.Wait(), -SIGKILL);
    EXPECT_EQ(Inboxes(stem).size(), 1u);
    EXPECT_EQ(ZVK_Messages_Post(question, 1, 1), 0);
    EXPECT_TRUE(Inboxes(stem).empty());
}

TEST_F(TwoProcesses, AStoppedProcessMissesMessagesAndHoldsUpNobody)
{
    OtherProcess other("DISABLED_Role.CountsQuestionsUntilZero");
    (void)Next(ready);
    other.Send(SIGSTOP);
    for (int i = 0; i < 600; ++i)
        ASSERT_EQ(ZVK_Messages_Post(question, i, 1), 0);  // returns, or the test runs out of time
    other.Send(SIGCONT);
    Pair counted = {-1, -1};
    while (ZVK_Messages_Wait(answers, 0.05, &counted.first, &counted.second) ==
           ZVK_MESSAGES_TIMED_OUT)
        ASSERT_EQ(ZVK_Messages_Post(question, 0, 0), 0);  // until there is room for one
    EXPECT_GE(counted.first, 1);
    EXPECT_LE(counted.first, 600);
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(TwoProcesses, AForkLeavesTheParentsListenersAlone)
{
    OtherProcess other("DISABLED_Role.ForksWhileItListens");
    EXPECT_EQ(other.Wait(), 0);
}

#if !defined(__SANITIZE_ADDRESS__)
TEST_F(TwoProcesses, AProcessThatGetsNoSocketHearsItself)
{
    OtherProcess other("DISABLED_Role.HasNoFileNumbersLeft");
    EXPECT_EQ(other.Wait(), 0);
}
#endif

TEST_F(TwoProcesses, AFolderThatOthersMayEnterIsNotUsed)
{
    const ScratchFolder open;
    fs::create_directory(open.Path("quorvex"));
    fs::permissions(open.Path("quorvex"), fs::perms(0755));
    const ScopedVariable variable(kFolderVariable, open.Path().c_str());
    OtherProcess other("DISABLED_Role.ListensElsewhere");
    EXPECT_EQ(other.Wait(), 0);
}

TEST_F(TwoProcesses, AFolderWhosePathIsTooLongForAnAddressIsNotUsed)
{
    const ScratchFolder folder;
    const std::string deep = folder.Path(std::string(100, 'x'));
    fs::create_directory(deep);
    const ScopedVariable variable(kFolderVariable, deep.c_str());
    OtherProcess other("DISABLED_Role.ListensElsewhere");
    EXPECT_EQ(other.Wait(), 0);
}
