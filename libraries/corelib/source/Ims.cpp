#include "Ims.h"

#include <cxxabi.h>

#include <new>

#include "DateTime.h"
#include "GlobMatcher.h"
#include "ImsAgent.h"

namespace MovrikCorelib {

constinit Ims* Ims::DefaultMessageSystem = nullptr;

Ims::~Ims() = default;

unsigned long long Ims::setMessageHook(ImsAgent& agent, bool once, const std::string& generalGlob,
                                       const std::string& groupGlob, const std::string& messageGlob,
                                       ImsAgent* source, HookType type) {
    MessageHook hook;
    hook.agent = &agent;
    hook.filter = ImsMessage(generalGlob, groupGlob, messageGlob);
    hook.filter.source = source;
    hook.once = once;

    const ThreadLockHolder held(hookLock);
    if (haveIdenticalHook(hook))
        throwFailure<Hook_Duplicate>(
            "@ims.hook.duplicate{Trying to set a hook identical to a hook already set};");
    // The id of the last hook comes back once that hook is removed; agents in the field count on small ids.
    const unsigned long long id = hooks.empty() ? 1 : hooks.rbegin()->first + 1;
    SharedRegister& hooksReg = type == HookFirst ? hooksFirst : type == HookNormal ? hooksNormal : hooksLast;
    // An entry keeps the key of its first hook, `source` included; receivers in the field rely on that.
    edit(hooksReg, [&](Register& next) { next[hook.filter].insert(id); });
    hooks.emplace(id, hook);
    return id;
}

bool Ims::removeMessageHook(unsigned long long id) {
    const ThreadLockHolder held(hookLock);
    const auto hook = hooks.find(id);
    if (hook == hooks.end())
        return false;
    // With an equal filter in an earlier register the id stays behind in its own; delivery skips it.
    Register::const_iterator entry;
    if (SharedRegister* hooksReg = findHooksReg(hook->second.filter, entry))
        edit(*hooksReg, [&](Register& next) {
            const auto found = next.find(entry->first);
            found->second.erase(id);
            if (found->second.empty())
                next.erase(found);
        });
    hooks.erase(hook);
    return true;
}

bool Ims::send(const ImsMessage& message) {
    MessageHandleCode code = MessageNotHandled;
    std::list<unsigned long long> removals;
    for (const SharedRegister* hooksReg : {&hooksFirst, &hooksNormal, &hooksLast})
        if (code != MessageConsumed)
            sendToHooks(message, *hooksReg, removals, code);
    // Only now, so that a once hook also receives what its own handler sends.
    for (const unsigned long long id : removals)
        removeMessageHook(id);
    return code != MessageNotHandled;
}

bool Ims::sendDefault(const ImsMessage& message) {
    return getDefaultMessageSystem().send(message);
}

MessageHandleCode Ims::sendToHook(unsigned long long id, const ImsMessage& message, bool& once) {
    ImsAgent* agent = nullptr;
    once = false;
    {
        const ThreadLockHolder held(hookLock);
        if (const auto hook = hooks.find(id); hook != hooks.end() && hook->second.agent) {
            agent = hook->second.agent;
            once = hook->second.once;
        }
    }
    return agent ? agent->hookMessage(id, message) : MessageNotHandled;
}

bool Ims::queue(const ImsMessage& message, unsigned long long time) {
    enqueue(nullptr, message, time);
    return true;
}

bool Ims::queue(ImsAgent& agent, const ImsMessage& message, unsigned long long time) {
    enqueue(&agent, message, time);
    return true;
}

bool Ims::queueDefault(const ImsMessage& message, unsigned long long time) {
    return getDefaultMessageSystem().queue(message, time);
}

bool Ims::queueDefault(ImsAgent& agent, const ImsMessage& message, unsigned long long time) {
    return getDefaultMessageSystem().queue(agent, message, time);
}

void Ims::update() {
    // Without the lock: a stale answer costs one round.
    if (delayQueue.empty())
        return;
    const unsigned long long now = DateTime::getCurrentTime();
    delayLock.lock(true);
    if (delivering) {  // called by a receiver: the pass under way delivers all there is
        delayLock.unlock();
        return;
    }
    struct Pass {
        explicit Pass(bool& flag) : flag_(flag) { flag_ = true; }
        ~Pass() { flag_ = false; }
        bool& flag_;
    };
    {
        const Pass pass(delivering);
        while (!delayQueue.empty() && delayQueue.begin()->first <= now) {
            const auto due = delayQueue.begin();
            for (TimeDelayMsg& entry : due->second) {
                if (!entry.agent) {
                    // If this throws, the lock stays held and the list stays: the next update on this
                    // thread delivers it again, as callers with a loop of their own expect.
                    send(entry.message);
                    continue;
                }
                try {
                    entry.agent->handleMessage(entry.message);
                } catch (const abi::__forced_unwind&) {
                    throw;  // the end of a cancelled thread is no failure
                } catch (...) {
                }
            }
            delayQueue.erase(due);
        }
    }
    delayLock.unlock();
}

void Ims::updateDefault() {
    getDefaultMessageSystem().update();
}

Ims& Ims::getDefaultMessageSystem() {
    // Never deleted: the destructors of static loggers still use it.
    if (!DefaultMessageSystem)
        DefaultMessageSystem = new (std::nothrow) Ims;
    if (!DefaultMessageSystem)
        throwFailure<Ims_OutOfMemory>("@out-of-memory{Out of memory};");
    return *DefaultMessageSystem;
}

Ims::SharedRegister* Ims::findHooksReg(const ImsMessage& filter, Register::const_iterator& entry) {
    for (SharedRegister* hooksReg : {&hooksFirst, &hooksNormal, &hooksLast}) {
        entry = (*hooksReg)->find(filter);
        if (entry != (*hooksReg)->end())
            return hooksReg;
    }
    return nullptr;
}

bool Ims::haveIdenticalHook(const MessageHook& hook) {
    Register::const_iterator entry;
    if (!findHooksReg(hook.filter, entry))
        return false;
    for (const unsigned long long id : entry->second)
        if (const auto found = hooks.find(id); found != hooks.end() && found->second.agent == hook.agent)
            return true;
    return false;
}

bool Ims::messageMatchesHook(const ImsMessage& filter, const ImsMessage& message) {
    for (const auto type : {&ImsMessage::generalType, &ImsMessage::groupType, &ImsMessage::messageType})
        if (const std::string& glob = filter.*type, &text = message.*type;
            !glob.empty() && glob != text &&
            !GlobMatcher::match(text, glob, 0, static_cast<unsigned long>(-1)))
            return false;
    return !filter.source || filter.source == message.source;
}

void Ims::sendToHooks(const ImsMessage& message, const SharedRegister& hooksReg,
                      std::list<unsigned long long>& removals, MessageHandleCode& code) {
    hookLock.lock(true);
    const SharedRegister snapshot = hooksReg;
    hookLock.unlock();
    for (const auto& [filter, ids] : *snapshot) {
        if (code == MessageConsumed)
            return;
        if (!messageMatchesHook(filter, message))
            continue;
        for (const unsigned long long id : ids) {
            if (code == MessageConsumed)
                return;
            bool once = false;
            const MessageHandleCode result = sendToHook(id, message, once);
            if (result == MessageHandled || result == MessageConsumed)
                code = result;
            // The running code counts: a once hook also goes if an earlier hook handled the message.
            if (once && code != MessageNotHandled)
                removals.push_back(id);
        }
    }
}

void Ims::edit(SharedRegister& hooksReg, const std::function<void(Register&)>& change) {
    const auto next = std::make_shared<Register>(*hooksReg);
    change(*next);
    hooksReg = next;
}

void Ims::enqueue(ImsAgent* agent, const ImsMessage& message, unsigned long long time) {
    const ThreadLockHolder held(delayLock);
    TimeDelayMsg& entry = delayQueue[time].emplace_back();
    entry.agent = agent;
    entry.message = message;
}

}  // namespace MovrikCorelib
