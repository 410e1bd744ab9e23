#pragma once

#include <list>
#include <string>

#include "FileChange.h"
#include "FileLines.h"
#include "FileSearch.h"
#include "FileStatus.h"
#include "FileSurgery.h"
#include "FileText.h"
#include "FileTree.h"
#include "PathForm.h"
#include "PathParts.h"

namespace MovrikCorelib {

/// Static operations on path strings and on the file system; each that takes text exists for narrow and wide
/// text. The bases hold the operations on one character type, a family each, and tell what they do.
///
/// Paths are bytes; the system sees wide ones as `StringTools::convert` gives them. Failures are results:
/// false, 0 or an empty text. Nothing is thrown but std::bad_alloc. Except for `copy` and `move`, which see,
/// and for the current directory and the environment, all may be called from any thread.
class FileTools : public FileRights,
                  public PathParts<char>,
                  public PathParts<wchar_t>,
                  public PathForm<char>,
                  public PathForm<wchar_t>,
                  public FileStatus<char>,
                  public FileStatus<wchar_t>,
                  public FileChange<char>,
                  public FileChange<wchar_t>,
                  public FileTree<char>,
                  public FileTree<wchar_t>,
                  public FileSearch<char>,
                  public FileSearch<wchar_t>,
                  public FileLines<char>,
                  public FileLines<wchar_t>,
                  public FileSurgery<char>,
                  public FileSurgery<wchar_t> {
public:
    using DirItem = FileTree<char>::DirItem;
    using DirItemW = FileTree<wchar_t>::DirItem;
    using DiffDef = FileTree<char>::DiffDef;
    using DiffDefW = FileTree<wchar_t>::DiffDef;
    using SearchResult = FileHit;
    using Progress = FileProgress<char>;
    using ProgressW = FileProgress<wchar_t>;

    /// One mounted file system.
    struct FileSystem {
        std::string device;
        std::string directory;  ///< where it is mounted
        std::string type;       ///< such as "ext4"
        std::string options;    ///< separated by ","
    };

    static constexpr char dirSep() { return '/'; }
    static constexpr wchar_t dirSepW() { return L'/'; }
    static const std::string& dirSepStr();
    static const std::wstring& dirSepStrW();
    /// A delimiter for files put together in one: the control character 28, "file separator".
    static const std::string& fileDelimiter();
    static const std::wstring& fileDelimiterW();
    /// The mark at the head of wide text on disk.
    static constexpr wchar_t BOM() { return 0xFEFF; }

    static std::string getCurrentDir() { return FileStatus<char>::getCurrentDir(); }
    static std::wstring getCurrentDirW() { return FileStatus<wchar_t>::getCurrentDir(); }

    /// Adds all mounted file systems, in the order they were mounted.
    static bool getFileSystems(std::list<FileSystem>& systems);

    using PathParts<char>::findDriveStart, PathParts<wchar_t>::findDriveStart;
    using PathParts<char>::findDriveEnd, PathParts<wchar_t>::findDriveEnd;
    using PathParts<char>::findDirStart, PathParts<wchar_t>::findDirStart;
    using PathParts<char>::findDirEnd, PathParts<wchar_t>::findDirEnd;
    using PathParts<char>::findBaseStart, PathParts<wchar_t>::findBaseStart;
    using PathParts<char>::findBaseEnd, PathParts<wchar_t>::findBaseEnd;
    using PathParts<char>::findSuffixStart, PathParts<wchar_t>::findSuffixStart;
    using PathParts<char>::findSuffixEnd, PathParts<wchar_t>::findSuffixEnd;
    using PathParts<char>::getDrive, PathParts<wchar_t>::getDrive;
    using PathParts<char>::getDir, PathParts<wchar_t>::getDir;
    using PathParts<char>::getBase, PathParts<wchar_t>::getBase;
    using PathParts<char>::getSuffix, PathParts<wchar_t>::getSuffix;
    using PathParts<char>::getParent, PathParts<wchar_t>::getParent;
    using PathParts<char>::removeBase, PathParts<wchar_t>::removeBase;
    using PathParts<char>::removeSuffix, PathParts<wchar_t>::removeSuffix;
    using PathParts<char>::trimDir, PathParts<wchar_t>::trimDir;
    using PathParts<char>::splitDrive, PathParts<wchar_t>::splitDrive;
    using PathParts<char>::splitDir, PathParts<wchar_t>::splitDir;
    using PathParts<char>::splitBase, PathParts<wchar_t>::splitBase;
    using PathParts<char>::splitSuffix, PathParts<wchar_t>::splitSuffix;

    using PathForm<char>::correctSeparation, PathForm<wchar_t>::correctSeparation;
    using PathForm<char>::completeDir, PathForm<wchar_t>::completeDir;
    using PathForm<char>::contractPath, PathForm<wchar_t>::contractPath;
    using PathForm<char>::makeComplete, PathForm<wchar_t>::makeComplete;
    using PathForm<char>::makeRelative, PathForm<wchar_t>::makeRelative;
    using PathForm<char>::isComplete, PathForm<wchar_t>::isComplete;
    using PathForm<char>::prepDir, PathForm<wchar_t>::prepDir;
    using PathForm<char>::mapSymbolic, PathForm<wchar_t>::mapSymbolic;
    using PathForm<char>::expand, PathForm<wchar_t>::expand;
    using PathForm<char>::processPath, PathForm<wchar_t>::processPath;

    using FileStatus<char>::isFile, FileStatus<wchar_t>::isFile;
    using FileStatus<char>::isDir, FileStatus<wchar_t>::isDir;
    using FileStatus<char>::isLink, FileStatus<wchar_t>::isLink;
    using FileStatus<char>::exists, FileStatus<wchar_t>::exists;
    using FileStatus<char>::size, FileStatus<wchar_t>::size;
    using FileStatus<char>::checkStatus, FileStatus<wchar_t>::checkStatus;
    using FileStatus<char>::isAllowed, FileStatus<wchar_t>::isAllowed;
    using FileStatus<char>::freeSpace, FileStatus<wchar_t>::freeSpace;
    using FileStatus<char>::firstCreated, FileStatus<wchar_t>::firstCreated;
    using FileStatus<char>::lastAccessed, FileStatus<wchar_t>::lastAccessed;
    using FileStatus<char>::lastModified, FileStatus<wchar_t>::lastModified;
    using FileStatus<char>::setFirstCreated, FileStatus<wchar_t>::setFirstCreated;
    using FileStatus<char>::setLastAccessed, FileStatus<wchar_t>::setLastAccessed;
    using FileStatus<char>::setLastModified, FileStatus<wchar_t>::setLastModified;
    using FileStatus<char>::setPermissions, FileStatus<wchar_t>::setPermissions;
    using FileStatus<char>::setStatus, FileStatus<wchar_t>::setStatus;
    using FileStatus<char>::createLink, FileStatus<wchar_t>::createLink;
    using FileStatus<char>::createFile, FileStatus<wchar_t>::createFile;
    using FileStatus<char>::touch, FileStatus<wchar_t>::touch;
    using FileStatus<char>::setCurrentDir, FileStatus<wchar_t>::setCurrentDir;

    using FileChange<char>::makeDir, FileChange<wchar_t>::makeDir;
    using FileChange<char>::ensurePath, FileChange<wchar_t>::ensurePath;
    using FileChange<char>::remove, FileChange<wchar_t>::remove;
    using FileChange<char>::removeDir, FileChange<wchar_t>::removeDir;
    using FileChange<char>::clearDir, FileChange<wchar_t>::clearDir;
    using FileChange<char>::copy, FileChange<wchar_t>::copy;
    using FileChange<char>::move, FileChange<wchar_t>::move;
    using FileChange<char>::copyDir, FileChange<wchar_t>::copyDir;
    using FileChange<char>::moveDir, FileChange<wchar_t>::moveDir;

    using FileTree<char>::readDir, FileTree<wchar_t>::readDir;
    using FileTree<char>::count, FileTree<wchar_t>::count;
    using FileTree<char>::getDirTree, FileTree<wchar_t>::getDirTree;
    using FileTree<char>::compare, FileTree<wchar_t>::compare;
    using FileTree<char>::iCompare, FileTree<wchar_t>::iCompare;
    using FileTree<char>::compareDirs, FileTree<wchar_t>::compareDirs;

    using FileSearch<char>::findPath, FileSearch<wchar_t>::findPath;
    using FileSearch<char>::findExe, FileSearch<wchar_t>::findExe;
    using FileSearch<char>::findName, FileSearch<wchar_t>::findName;
    using FileSearch<char>::findNameGlob, FileSearch<wchar_t>::findNameGlob;
    using FileSearch<char>::findContents, FileSearch<wchar_t>::findContents;
    using FileSearch<char>::findContentsGlob, FileSearch<wchar_t>::findContentsGlob;
    using FileSearch<char>::find, FileSearch<wchar_t>::find;

    using FileLines<char>::fileToText, FileLines<wchar_t>::fileToText;
    using FileLines<char>::fileToList, FileLines<wchar_t>::fileToList;
    using FileLines<char>::fileToVector, FileLines<wchar_t>::fileToVector;
    using FileLines<char>::fileToSet, FileLines<wchar_t>::fileToSet;
    using FileLines<char>::fileToMap, FileLines<wchar_t>::fileToMap;
    using FileLines<char>::textToFile, FileLines<wchar_t>::textToFile;
    using FileLines<char>::listToFile, FileLines<wchar_t>::listToFile;
    using FileLines<char>::vectorToFile, FileLines<wchar_t>::vectorToFile;
    using FileLines<char>::setToFile, FileLines<wchar_t>::setToFile;
    using FileLines<char>::mapToFile, FileLines<wchar_t>::mapToFile;

    using FileSurgery<char>::split, FileSurgery<wchar_t>::split;
    using FileSurgery<char>::splitDelim, FileSurgery<wchar_t>::splitDelim;
    using FileSurgery<char>::join, FileSurgery<wchar_t>::join;
    using FileSurgery<char>::joinDelim, FileSurgery<wchar_t>::joinDelim;
    using FileSurgery<char>::append, FileSurgery<wchar_t>::append;
    using FileSurgery<char>::appendDelim, FileSurgery<wchar_t>::appendDelim;
    using FileSurgery<char>::detach, FileSurgery<wchar_t>::detach;
    using FileSurgery<char>::detachDelim, FileSurgery<wchar_t>::detachDelim;
};

}  // namespace MovrikCorelib
