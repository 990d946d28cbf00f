// The verdicts of a run over a list, so that an interrupted one can be continued.
//
// A first line names the format and the options, then each verdict has a line (docs/json.md). They are in the order of
// the list, so that both are read side by side, and replacing the file copies it: memory does not grow with it. A
// verdict is recorded with its certificate's hash, and only as long as its response would be accepted.
//
//   ResumeFile resume("run.resume", optionsText);
//   if (const auto state = resume.recorded(item)) ...     // main thread, in the order of the list
//   resume.record(item, result);                          // any thread
//   resume.save();                                        // main thread, several times
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "cli/batch/batch_item.h"
#include "cli/batch/list_reader.h"
#include "cli/check_result.h"
#include "cli/interruption.h"

namespace tallow::cli {

class ResumeFile {
public:
    /// Opens the file if it exists. It counts only for the same options; `options` contains those that the verdicts
    /// depend on. Throws InputError for a file that others may write, that is no such file, or that belongs to other
    /// options, and when its directory cannot be written.
    ResumeFile(std::string path, std::string options);

    /// The verdict on this certificate, if it is recorded and still current. In the order of the list.
    std::optional<CertificateState> recorded(const BatchItem& item);

    /// Keeps the verdict for the next save. `end`, in ISO 8601, says until when it counts; empty: not at all.
    void record(const BatchItem& item, CertificateState state, const std::string& end);

    /// Whether a save is due: when many verdicts are kept, or some time after the last one, the longer that took.
    [[nodiscard]] bool isDue();
    /// Replaces the file: what it records and is still current, with the verdicts kept. Throws InputError; the file is
    /// as before then.
    void save();
    /// Removes the file: the run is complete.
    void remove() const;

private:
    using Place = std::pair<std::size_t, std::size_t>;  // line and number
    struct Entry {
        Place place;
        std::string thumbprint, end;
        CertificateState state = CertificateState::kError;
    };
    using Entries = std::map<Place, Entry>;

    // The next entry that can be read; nothing at the end.
    static std::optional<Entry> next(ListReader& file);
    void requireOwn(const struct stat& info) const;
    void open(std::optional<ListReader>& file) const;
    void write(TemporaryFile& file, const Entries& kept) const;
    [[noreturn]] void fail(const std::string& reason) const;

    const std::string path_, options_;
    std::optional<ListReader> earlier_;  // as the file was at the start; nothing when there was none
    std::optional<Entry> ahead_;
    std::mutex mutex_;
    Entries kept_;
    std::chrono::steady_clock::time_point due_;
};

}  // namespace tallow::cli
