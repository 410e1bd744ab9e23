#pragma once

#include <map>
#include <set>
#include <string>

#include "ConfMessages.h"
#include "ConfNode.h"
#include "Exception.h"
#include "ImsAgent.h"
#include "Logger.h"
#include "SmartPointer.h"

namespace MovrikCorelib {

/// The store of the configuration: the tree and the keyword table, reached by "conf" messages alone (see
/// `ConfAgent`). It lives in memory; nothing is written back to a file. Handlers run on the sender's thread
/// and take no lock: any number of readers, or one writer.
///
/// In a path, `%keyword%` stands for a registered path. In a value of type string, dir or file, `${path}`
/// stands for the value of another node and is replaced when the value is read. Neither has an escape.
class ConfBase : public ImsAgent {
public:
    MOVRIK_FAILURE(ConfBase_FailedToSetHooks);
    MOVRIK_FAILURE(ProcessString_CircularReference);

    /// One reading of a value follows references this many steps deep and through this many characters of
    /// text; a reference beyond either stays as written. Both keep text that multiplies itself harmless.
    static constexpr unsigned int MaxReferenceDepth = 200;
    static constexpr unsigned long MaxExpandedText = 256UL << 10;

    /// On the default message system. Both throw `ConfBase_FailedToSetHooks`.
    ConfBase();
    explicit ConfBase(Ims& ims);
    ConfBase(const ConfBase&) = delete;
    ConfBase& operator=(const ConfBase&) = delete;
    ~ConfBase() override;

    MessageHandleCode handleMessage(const ImsMessage& message) override;
    MessageHandleCode hookMessage(unsigned long long id, const ImsMessage& message) override;

    /// The handlers of the four groups "query", "data", "keyword" and "rawpath".
    MessageHandleCode query(const ImsMessage& message);
    MessageHandleCode cache(const ImsMessage& message);
    MessageHandleCode registerKeyword(const ImsMessage& message);
    MessageHandleCode processPath(const ImsMessage& message);

    /// Joins a tree, not null, into the store, making a root if there is none. False if the names of the
    /// roots differ.
    bool merge(SmartPointer<ConfNode> tree);

    /// The path with its keywords replaced. An unknown keyword stays as text; the text behind an unclosed "%"
    /// is lost.
    std::string processPath(const std::string& path) const;
    /// The node at a path that may hold keywords; the root for an empty path; null if there is none.
    SmartPointer<ConfNode> find(const std::string& path);
    /// The text with its references replaced. `visited` holds the paths being expanded at present; a
    /// reference to one of them throws `ProcessString_CircularReference`.
    std::string processString(const std::string& text, std::set<std::string>& visited);

private:
    struct Expansion;

    void setHooks();
    void removeHooks();
    MessageHandleCode get(ConfQueryParam& param);
    MessageHandleCode set(ConfQueryParam& param);
    void setValue(ConfQueryParam& param, SmartPointer<ConfNode>& node);
    void setValue(ConfQueryParam& param);
    void setNode(ConfQueryParam& param);
    void removeNode(ConfQueryParam& param);
    void writeValue(ConfQueryParam& param, ConfNode& node);
    void expand(const std::string& text, Expansion& expansion);
    bool expandNode(const ConfNode& node, const std::string& path, Expansion& expansion);
    void ensureRoot();

    Logger logger{"confbase", nullptr};
    SmartPointer<ConfNode> root;
    unsigned long long hookQuery = 0;
    unsigned long long hookData = 0;
    unsigned long long hookKeyword = 0;
    unsigned long long hookRawPath = 0;
    std::map<std::string, std::string> keywords;
};

}  // namespace MovrikCorelib
