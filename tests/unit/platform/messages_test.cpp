// The main library's way to registered messages, and the stand-in that writes them down.

#include "platform/messages.h"

#include "quorvex/messages.h"
#include "recording_messages.h"
#include "scratch_folder.h"

TEST(MessagesSeam, PostsReachTheSmallLibrary)
{
    const ScratchFolder folder;
    const ScopedVariable variable("XDG_RUNTIME_DIR", folder.Path().c_str());
    const uint32_t id = Messages().registerName("seam");
    EXPECT_EQ(id, ZVK_Messages_Register("seam"));
    int32_t listener = 0;
    ASSERT_EQ(ZVK_Messages_Listen(id, nullptr, nullptr, &listener), 0);
    EXPECT_EQ(Messages().post(id, 3, -4), 0);
    int64_t first = 0;
    int64_t second = 0;
    EXPECT_EQ(ZVK_Messages_Wait(listener, 0.0, &first, &second), 0);
    EXPECT_EQ(first, 3);
    EXPECT_EQ(second, -4);
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}

TEST(RecordingMessages_, KeepsPostsByName)
{
    RecordingMessages messages;
    const uint32_t first = Messages().registerName("A");
    const uint32_t second = Messages().registerName("B");
    EXPECT_EQ(Messages().registerName("A"), first);
    EXPECT_NE(first, second);
    EXPECT_EQ(Messages().registerName(""), 0u);
    EXPECT_EQ(Messages().post(second, 1, 2), 0);
    EXPECT_LT(Messages().post(second + 1, 1, 2), 0);
    messages.FailPosts(-4);
    EXPECT_EQ(Messages().post(first, 3, 4), -4);
    messages.FailPosts(1);
    EXPECT_EQ(Messages().post(first, 5, 6), 1);
    messages.FailNames();
    EXPECT_EQ(Messages().registerName("A"), 0u);
    EXPECT_EQ(messages.Posts(), (std::vector<RecordingMessages::Posted>{{"B", 1, 2}, {"A", 5, 6}}));
}
