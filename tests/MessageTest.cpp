#include <array>
#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "DateTime.h"
#include "LogCollector.h"

using namespace MovrikCorelib;

namespace {

/// Notes "name:message type " of what it gets, does what it is told, and answers so.
struct Receiver : ImsAgent {
    Receiver(const std::string& label, Ims& ims, std::string& notes) : ImsAgent(label, ims), heard(notes) {}
    MessageHandleCode handleMessage(const ImsMessage& message) override {
        heard += name + ":" + message.messageType + " ";
        action(message);
        return answer;
    }
    MessageHandleCode hookMessage(unsigned long long, const ImsMessage& message) override {
        return handleMessage(message);
    }
    std::string& heard;
    MessageHandleCode answer = MessageHandled;
    std::function<void(const ImsMessage&)> action = [](const ImsMessage&) {};
};

struct Payload : ImsMessageParameter {
    explicit Payload(int& count) : deletions(count) {}
    ~Payload() override { ++deletions; }
    int& deletions;
};

class Message : public testing::Test {
protected:
    unsigned long long hook(Receiver& receiver, const std::string& glob, bool once = false,
                            HookType type = HookNormal, ImsAgent* source = nullptr) {
        return ims.setMessageHook(receiver, once, "g", glob, "", source, type);
    }
    static ImsMessage message(const std::string& type) { return ImsMessage("g", "x", type); }
    bool send(const std::string& type) { return ims.send(message(type)); }

    int deletions = 0;
    std::string heard;
    Ims ims;
    Receiver a{"a", ims, heard}, b{"b", ims, heard}, c{"c", ims, heard};
};

}  // namespace

TEST_F(Message, CopyTakesThePayloadButNeverTheDutyToDelete) {
    {
        ImsMessage owner("", "", "", new Payload(deletions)), target("", "", "", new Payload(deletions));
        owner.deleteParameter = target.deleteParameter = true;
        target = static_cast<const ImsMessage&>(owner);
        EXPECT_EQ(deletions, 1) << "what the target owned";
        ImsMessage copy(target);
        EXPECT_TRUE(!owner.parameter && !target.parameter && !target.deleteParameter &&
                    !copy.deleteParameter);
        copy.deleteParameter = true;
    }
    EXPECT_EQ(deletions, 2);
}

TEST_F(Message, GlobsAndSourceDecideWhoReceives) {
    // Which of "nobody" and "b" as sender of ("g", "x", "7") gets through.
    using Case = std::tuple<std::array<const char*, 3>, ImsAgent*, bool, bool>;
    for (const auto& [globs, source, plain, fromB] :
         {Case{{"", "", ""}, nullptr, true, true}, Case{{"*g", "?", "7"}, nullptr, true, true},
          Case{{"g", "xx", ""}, nullptr, false, false}, Case{{"g", "", "?*?"}, nullptr, false, false},
          Case{{"", "", ""}, &b, false, true}}) {
        Ims bus;
        bus.setMessageHook(a, false, globs[0], globs[1], globs[2], source, HookNormal);
        ImsMessage sent = message("7");
        EXPECT_EQ(bus.send(sent), plain) << globs[0] << globs[1] << globs[2];
        sent.source = &b;
        EXPECT_EQ(bus.send(sent), fromB) << globs[0] << globs[1] << globs[2];
    }
}

TEST_F(Message, ClassesThenFiltersThenIdsGiveTheOrderAndConsumingEndsIt) {
    hook(a, "x", false, static_cast<HookType>(9));
    for (Receiver* receiver : {&b, &c})
        hook(*receiver, "x");
    hook(a, "*");
    hook(c, "?", false, HookFirst);
    send("1");
    b.answer = MessageConsumed;
    send("2");
    EXPECT_EQ(heard, "c:1 a:1 b:1 c:1 a:1 c:2 a:2 b:2 ") << "'*' sorts before 'x'";
}

TEST_F(Message, EqualGlobsShareOneEntry) {
    EXPECT_EQ(hook(a, "x", false, HookNormal, &c), 1U);
    EXPECT_THROW(hook(a, "x", true, HookLast), Ims::Hook_Duplicate);
    EXPECT_EQ(hook(b, "x"), 2U);
    EXPECT_EQ(hook(c, "y"), 3U);
    EXPECT_FALSE(send("without source")) << "the first hook's source counts for all";
    EXPECT_TRUE(ims.removeMessageHook(3));
    EXPECT_FALSE(ims.removeMessageHook(3));
    EXPECT_EQ(hook(c, "x", false, HookLast), 3U) << "the greatest id comes back";
    EXPECT_EQ(hook(c, "x", false, HookLast), 4U) << "a filter in two classes is only seen in the first";
    EXPECT_TRUE(ims.removeMessageHook(4));
    EXPECT_TRUE(ims.removeMessageHook(3)) << "its entry stays, as the filter also stands in an earlier class";
    ImsMessage fromC = message("1");
    fromC.source = &c;
    EXPECT_TRUE(ims.send(fromC));
    EXPECT_EQ(heard, "a:1 b:1 ");
    bool once = true;
    EXPECT_EQ(ims.sendToHook(3, fromC, once), MessageNotHandled);
    EXPECT_FALSE(once);
}

TEST_F(Message, OnceHooksGoAtTheEndOfTheSendThatWasHandled) {
    hook(b, "x", true);
    b.answer = MessageNotHandled;
    EXPECT_FALSE(send("1"));
    b.answer = MessageHandled;
    b.action = [&](const ImsMessage& m) {
        if (m.messageType == "inner")
            throw std::runtime_error("no");
        EXPECT_THROW(send("inner"), std::runtime_error);
    };
    EXPECT_TRUE(send("2"));
    EXPECT_FALSE(send("3"));
    EXPECT_EQ(std::exchange(heard, ""), "b:1 b:2 b:inner ");

    hook(a, "x", false, HookFirst);
    const unsigned long long idC = hook(c, "?", true);
    c.answer = MessageNotHandled;
    send("4");
    send("5");
    EXPECT_EQ(hook(b, "y"), idC) << "gone, and its id is back";
    EXPECT_EQ(heard, "a:4 c:4 a:5 ") << "an earlier hook's answer counts for the once hook";
}

TEST_F(Message, QueueDeliversWhatIsDueInOrderOfTimeThenArrival) {
    Payload payload(deletions);
    hook(a, "x");
    const unsigned long long now = DateTime::getCurrentTime();
    ImsMessage first("g", "x", "1", &payload);
    ims.queue(first, now);
    EXPECT_EQ(first.parameter, nullptr);
    ims.queue(c, message("2"), now);
    ims.queue(b, message("0"), now - 1);
    ims.queue(message("late"), now + 3'600'000);
    a.action = [&](const ImsMessage& m) {
        EXPECT_EQ(m.parameter, &payload);
        ims.queue(b, message("same pass"), 5);
        ims.update();
    };
    c.action = [](const ImsMessage&) { throw 42; };
    ims.update();
    EXPECT_EQ(std::exchange(heard, ""), "b:0 a:1 c:2 b:same pass ");
    EXPECT_EQ(deletions, 0);

    ims.queue(b, message("3"), 7);
    ims.queue(message("4"), 7);
    a.action = [](const ImsMessage&) { throw std::runtime_error("hooked"); };
    EXPECT_THROW(ims.update(), std::runtime_error);
    a.action = [](const ImsMessage&) {};
    ims.update();
    EXPECT_EQ(heard, "b:3 a:4 b:3 a:4 ") << "the whole time is delivered again";
}

TEST_F(Message, AgentsReachEachOtherDirectlyAndThroughTheirOwnBus) {
    hook(c, "x");
    ImsMessage m = message("1");
    ImsAgent deaf("deaf", ims);
    EXPECT_TRUE(a.sendMessage(b, m));
    EXPECT_FALSE(a.sendMessage(deaf, m));
    EXPECT_TRUE(a.sendMessage(m));
    EXPECT_EQ(m.source, &a);
    EXPECT_EQ(heard, "b:1 c:1 ");
    EXPECT_EQ(a.setMessageHook(false, "q", "", "", HookNormal), 2U) << "on the agent's own bus";
    EXPECT_EQ(TestSupport::failureOf([&] { a.setMessageHook(ims, b, true, "q", "", "", HookFirst); }),
              "Hook_Duplicate:\nHook_Duplicate: Trying to set a hook identical to a hook already set");
    EXPECT_TRUE(a.removeMessageHook(a.setMessageHook(b, true, "q", "", "", HookFirst)))
        << "on the default bus";
}

TEST_F(Message, TraceShowsNothingOfLoggersAndLogging) {
    TestSupport::LogCollector log("imsagent");
    ImsAgent logger("logger", ims);
    using Case = std::tuple<ImsAgent*, const char*, int>;
    for (const auto& [agent, type, level] :
         {Case{&a, "g", 7}, Case{&a, "debug", 8}, Case{&logger, "h", 8}, Case{&a, "i", 6}}) {
        Logger::MainLevel = level;
        ImsMessage sent(type, "x", "1");
        agent->queueMessage(b, sent, 86'400'000ULL * 2 + 1);
    }
    EXPECT_EQ(log.lines,
              "d7 ImsAgent::queueMessageDelay: To \"b\", send at 1900-01-02T00:00:00.001Z\n"
              "\tGeneral type: g\n\tGroup type  : x\n\tMessage type: 1\n");
}
