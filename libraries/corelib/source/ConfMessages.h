#pragma once

#include <map>
#include <string>

#include "ImsMessage.h"

namespace MovrikCorelib {

class StringStream;

// Parameters of the "conf" messages. Each lives with its sender, stays the sender's, and carries the answer
// back; delivery is synchronous.

/// "conf"/"query": one read or write of the tree.
class ConfQueryParam : public ImsMessageParameter {
public:
    std::string path;                               ///< may hold %keyword%; empty means the root
    const std::string* description = nullptr;       ///< make node: the attribute "description"; else null
    int nodeType = 0;                               ///< make node: type of the node
    int type = 0;                                   ///< query type, `ConfType` 1 to 15
    void* value = nullptr;                          ///< the sender's object, of the kind that `type` tells
    char separator = '\n';                          ///< list write
    std::map<std::string, std::string> attributes;  ///< list write: "ltype" is "str" or "list"
    bool isSet = false;                             ///< true for a write
    int status = 0;                                 ///< the answer, a `ConfStatus`
};

/// "conf"/"data": a tree for the store, in the form of `ConfNode::toStream(StreamBase&)`.
class ConfDataParam : public ImsMessageParameter {
public:
    StringStream* stream = nullptr;  ///< not owned; read from its present position
};

/// "conf"/"keyword": makes a keyword known.
class ConfKeywordParam : public ImsMessageParameter {
public:
    std::string keyword;
    std::string path;
};

/// "conf"/"rawpath": asks for the expansion of a path's keywords.
class ConfPathParam : public ImsMessageParameter {
public:
    std::string rawPath;
    std::string processedPath;  ///< empty until the store has answered
};

}  // namespace MovrikCorelib
