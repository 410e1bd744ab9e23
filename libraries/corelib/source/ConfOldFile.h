#pragma once

#include <map>
#include <string>

#include "ConfNode.h"
#include "Exception.h"
#include "ImsAgent.h"
#include "Logger.h"
#include "SmartPointer.h"
#include "Throws.h"

namespace MovrikCorelib {

class File;
class StringStream;

/// Reads the configuration file and hands its tree to the store. Made for one load, by one thread.
///
/// The file is a sequence of nodes, white space between any two parts:
///
///     name (Type) = "value" { child nodes }
///
/// All four parts are required. A value has no escapes and may run over lines; there are no comments. A
/// `${path}` in a String, DirName or FileName is replaced by the value of that node of the same file, defined
/// before or behind; one that is not found, or that leads back to itself, stays for the store.
///
/// The store sees one message at the very end, so a load that fails changes nothing there.
class ConfOldFile : public ImsAgent, public Throws {
public:
    MOVRIK_FAILURE(Load_FileNotFound);
    MOVRIK_FAILURE(Load_FileError);
    MOVRIK_FAILURE(Load_PrematureEndOfFile);
    MOVRIK_FAILURE(Load_InvalidNode);
    MOVRIK_FAILURE(Load_FailedToSendToBase);
    MOVRIK_FAILURE(LoadNode_EndOfNodes);

    /// Bounds of the replacement at load: steps deep, and characters put in for references in all. A
    /// reference beyond either stays as written.
    static constexpr unsigned int MaxReferenceDepth = 200;
    static constexpr unsigned long MaxInsertedText = 4UL << 20;

    ConfOldFile();

    /// Reads and sends. With `clearOld` the tree replaces what the store holds, else it is merged into it.
    /// Throws the `Load_*` failures, and `ConfNode::AddChild_NameAlreadyInUse` for two siblings of one name.
    /// Nodes nested deeper than `ConfNode::MaxDepth` are `Load_InvalidNode`; anything but a regular file, or
    /// a link to one, is `Load_FileError`.
    void loadFileIntoBase(const std::string& fileName, bool clearOld);
    void loadFileIntoMemory(const std::string& fileName);
    /// Sends what was loaded, and empties it. `Load_FailedToSendToBase` if no store takes it.
    void sendToBase(bool clearOld);

private:
    /// A value in today's form.
    struct Converted {
        std::string text;
        bool done = false;
        bool circular = false;  ///< a reference on the way led back to a value that was not done
    };

    void sendToBase(StringStream& stream, bool clearOld);
    void loadNode(SmartPointer<ConfNode>& node, File& file);
    void skipWhiteCharacters(File& file);
    std::string readNodeName(File& file);
    int readNodeType(File& file);
    std::string readNodeValue(File& file);
    void readNodeBody(SmartPointer<ConfNode>& node, File& file);
    int mapNodeType(const std::string& typeName);
    void convertFromOld(const SmartPointer<ConfNode>& from, SmartPointer<ConfNode>& to);
    const Converted& convertValueFromOld(const SmartPointer<ConfNode>& node);
    std::string expandValue(const std::string& value, bool& circular);
    std::string correctTimeSpanValue(const std::string& value);
    SmartPointer<ConfNode> findOldNode(std::string path);
    void loadAttributeValue(File& file, std::string& value);

    Logger logger{"conffile", nullptr};
    SmartPointer<ConfNode> oldRoot;  ///< as read; the base of the references
    SmartPointer<ConfNode> newRoot;  ///< with the values in today's form
    std::map<const ConfNode*, Converted> converted;
    unsigned int referenceDepth = 0;
    unsigned long insertedText = 0;
};

}  // namespace MovrikCorelib
