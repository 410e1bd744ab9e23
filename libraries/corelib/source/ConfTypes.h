#pragma once

#include <string>

namespace MovrikCorelib {

/// What a node holds, and what a query asks for. Values 0 to 12 are node types; the others are borne by no
/// node.
enum ConfType {
    ConfTypeNone = 0,
    ConfTypeBool = 1,
    ConfTypeInt = 2,
    ConfTypeUInt = 3,
    ConfTypeFloat = 4,
    ConfTypeString = 5,
    ConfTypeDateTime = 6,
    ConfTypeTimeOfDay = 7,
    ConfTypeTimeZone = 8,
    ConfTypeTimeSpan = 9,
    ConfTypeDir = 10,
    ConfTypeFile = 11,
    ConfTypeList = 12,
    ConfTypeSubEntries = 13,
    ConfTypeMakeNode = 14,
    ConfTypeRemoveNode = 15,
    ConfTypeSystemString = 16,
    ConfTypeLocalInt = 17,
    ConfTypeLocalUInt = 18,
    ConfTypeLocalFloat = 19,
    ConfTypeLocalString = 20,
    ConfTypeLocalSet = 21
};

/// How a store answered a configuration, system or data bank message: the values of their `status` fields.
enum ConfStatus {
    ConfStatusPending = 0,
    ConfStatusDone = 1,
    ConfStatusBankNotFound = 2,
    ConfStatusNotFound = 3,
    ConfStatusWrongType = 4,
    ConfStatusUnknownType = 5,
    ConfStatusBadListType = 6,  ///< tree: unknown "ltype" of a list write
    ConfStatusNoAccess = 6,     ///< local values: the registry could not be reached
    ConfStatusInvalidPath = 7,
    ConfStatusFailedToRemove = 8,
    ConfStatusInvalidType = 9,
    ConfStatusWriteDenied = 10,
    ConfStatusWriteFailed = 11
};

/// Reasons that a program can show to its user; the numbers have nothing to do with `ConfStatus`.
enum ConfError : int {
    ConfErrorNone = 0,
    ConfErrorIms = 1,
    ConfErrorWrongType = 2,
    ConfErrorUnknownType = 3,
    ConfErrorNotFound = 4,
    ConfErrorFormatting = 5,
    ConfErrorInputFormat = 6,
    ConfErrorAccessDenied = 7,
    ConfErrorOutOfMemory = 8,
    ConfErrorFile = 9
};

/// The text form of a type, "undefined" for a number without one (14 and 15 among them), and its exact
/// reverse, 0 for a text that is no type.
std::string mapConfType(int type);
int mapConfType(const std::string& text);

/// Empty for 0, "Unknown error" for a number out of the table.
std::string mapConfError(ConfError error);

}  // namespace MovrikCorelib
