#pragma once

#include <string>

#include "AppFrame.h"
#include "DateTimeDetails.h"

namespace Movrik {

/// The program's shell: two options for the period, the keyword of the archive's directory, and a run that
/// hands the period to a `Splitter`.
class QuorvelArchiveFileSplitter : public MovrikCorelib::AppFrame {
public:
    QuorvelArchiveFileSplitter(const std::string& displayName, const std::string& appName,
                               const std::string& version, bool flag, const std::string& vendor);
    ~QuorvelArchiveFileSplitter() override;

    void construct() override;
    void destruct() override;
    void registerConfigurationKeys() override;
    void verifyConfiguration() override;

    /// 0 if the walk was completed, 2 if an option was missing or the walk failed.
    int run() override;

    /// Sets what was given; false at the first option that is missing, which is then reported. A text that is
    /// no date is not refused.
    bool getStartEnd(MovrikCorelib::DateTimeDetails& start, MovrikCorelib::DateTimeDetails& end);

    /// False if the option was not given, which is logged and printed.
    bool getOption(const std::string& option, std::string& value);
};

}  // namespace Movrik
