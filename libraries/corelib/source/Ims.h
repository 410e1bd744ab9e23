#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <set>
#include <string>

#include "Exception.h"
#include "ImsMessage.h"
#include "ThreadLock.h"

namespace MovrikCorelib {

/// Order of delivery. Any value but the first two counts as last.
enum HookType : int { HookFirst = 0, HookNormal = 1, HookLast = 2 };

/// The message bus of a process. Any thread may send; receivers run on the sender's thread, one after the
/// other, before `send` returns, and no hook lock is held meanwhile: a receiver may send, and set and remove
/// hooks. An agent must remove its hooks before it goes.
///
/// A receiver's exception reaches the sender: the remaining hooks do not get the message then, and hooks to
/// be removed after this message stay.
class Ims {
public:
    MOVRIK_FAILURE(Hook_Duplicate);
    MOVRIK_FAILURE(Ims_OutOfMemory);

    struct MessageHook {
        ImsAgent* agent = nullptr;  ///< who receives; not owned
        ImsMessage filter;          ///< three globs (empty: anything) and the wanted sender (null: any)
        bool once = false;          ///< remove after it has handled a message
    };

    struct TimeDelayMsg {
        ImsAgent* agent = nullptr;  ///< null: through the hooks
        ImsMessage message;
    };

    Ims() = default;
    virtual ~Ims();
    Ims(const Ims&) = delete;
    Ims& operator=(const Ims&) = delete;

    /// Returns the hook id, at least 1. The id of a removed hook can come back. Two hooks are identical if
    /// agent and globs are equal: the second throws `Hook_Duplicate`. Among hooks of one class with equal
    /// globs the first one's `source` counts for all.
    unsigned long long setMessageHook(ImsAgent& agent, bool once, const std::string& generalGlob,
                                      const std::string& groupGlob, const std::string& messageGlob,
                                      ImsAgent* source, HookType type);

    /// True if the hook existed.
    bool removeMessageHook(unsigned long long id);

    /// True if some receiver handled the message.
    bool send(const ImsMessage& message);
    static bool sendDefault(const ImsMessage& message);

    /// Delivers through one hook, without its filter. `MessageNotHandled` and `once` false for an unknown id.
    MessageHandleCode sendToHook(unsigned long long id, const ImsMessage& message, bool& once);

    /// Keeps the message until the first `update` at or after `time`, a `DateTime::getCurrentTime`. Takes the
    /// caller's `parameter` over, which must live until then; the queue does not delete it. With an agent
    /// delivery is by `handleMessage`, otherwise through the hooks. Always true.
    bool queue(const ImsMessage& message, unsigned long long time);
    bool queue(ImsAgent& agent, const ImsMessage& message, unsigned long long time);
    static bool queueDefault(const ImsMessage& message, unsigned long long time);
    static bool queueDefault(ImsAgent& agent, const ImsMessage& message, unsigned long long time);

    /// Delivers what is due, by time and then in order of queuing, on the calling thread. Nothing calls this
    /// by itself. Failures of direct receivers are dropped. One that comes through the hooks reaches the
    /// caller: the queue then stays locked by this thread, and its next `update` delivers that time again.
    void update();
    static void updateDefault();

    /// The default system, made at the first call, by the first agent as a rule, before threads start. It is
    /// never deleted. Throws `Ims_OutOfMemory`.
    static Ims& getDefaultMessageSystem();

    static Ims* DefaultMessageSystem;  ///< null until first needed

private:
    using HookIds = std::set<unsigned long long>;
    /// Keyed by filter, ordered by the three globs alone.
    using Register = std::map<ImsMessage, HookIds>;
    /// Never changed in place: a delivery keeps the one it began with.
    using SharedRegister = std::shared_ptr<const Register>;

    SharedRegister* findHooksReg(const ImsMessage& filter, Register::const_iterator& entry);
    bool haveIdenticalHook(const MessageHook& hook);
    static bool messageMatchesHook(const ImsMessage& filter, const ImsMessage& message);
    void sendToHooks(const ImsMessage& message, const SharedRegister& hooksReg,
                     std::list<unsigned long long>& removals, MessageHandleCode& code);
    static void edit(SharedRegister& hooksReg, const std::function<void(Register&)>& change);
    void enqueue(ImsAgent* agent, const ImsMessage& message, unsigned long long time);

    std::map<unsigned long long, MessageHook> hooks;
    SharedRegister hooksFirst = std::make_shared<Register>();
    SharedRegister hooksNormal = std::make_shared<Register>();
    SharedRegister hooksLast = std::make_shared<Register>();
    ThreadLock hookLock{ThreadLock::Untraced};  ///< guards all of the above
    std::map<unsigned long long, std::list<TimeDelayMsg>> delayQueue;
    ThreadLock delayLock;  ///< guards `delayQueue`; may be held when `hookLock` is taken, never the reverse
    bool delivering = false;  ///< an `update` is on its way, with `delayLock` held
};

}  // namespace MovrikCorelib
