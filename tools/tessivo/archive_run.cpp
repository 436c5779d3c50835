#include "archive_run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "cli_io.h"
#include "commands.h"
#include "dictionary_json.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

// Results kept ahead of the writer, per worker: bounds memory when one slow
// file holds back the output of the files after it.
constexpr std::size_t kResultsAheadPerWorker = 32;
constexpr auto kProgressInterval = std::chrono::milliseconds(200);

bool hasArchiveExtension(const fs::path& path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return std::any_of(std::begin(kArchiveExtensions), std::end(kArchiveExtensions),
                       [&](const char* wanted) { return ext == wanted; });
}

using WalkProblem = std::function<void(const std::string& path, const std::string& reason)>;

class Walker {
public:
    Walker(const std::function<void(ArchiveFile)>& onFile, const WalkProblem& onProblem)
        : onFile_(onFile), onProblem_(onProblem) {}

    void walk(const fs::path& dir, const fs::path& relative) {
        struct stat st {};
        if (::stat(dir.c_str(), &st) != 0 || !visited_.insert({st.st_dev, st.st_ino}).second) return;
        std::error_code ec;
        std::vector<fs::directory_entry> entries;
        for (fs::directory_iterator it(dir, ec), end; !ec && it != end; it.increment(ec)) entries.push_back(*it);
        if (ec) {
            onProblem_(dir.string(), "cannot list folder: " + ec.message());
            return;
        }
        std::sort(entries.begin(), entries.end(),
                  [](const auto& a, const auto& b) { return a.path().filename() < b.path().filename(); });
        for (const auto& entry : entries) {
            const fs::path below = relative / entry.path().filename();
            if (entry.is_directory(ec))
                walk(entry.path(), below);
            else if (hasArchiveExtension(entry.path()) && isReadableCandidate(entry))
                onFile_({entry.path().string(), below.string()});
        }
    }

private:
    // Regular files, and broken links so that they are reported; never
    // devices or pipes, whose reading could block.
    static bool isReadableCandidate(const fs::directory_entry& entry) {
        std::error_code ec;
        return entry.is_regular_file(ec) || (entry.is_symlink(ec) && !fs::exists(entry.path(), ec));
    }

    const std::function<void(ArchiveFile)>& onFile_;
    const WalkProblem& onProblem_;
    std::set<std::pair<dev_t, ino_t>> visited_;
};

// Files come from the walk while workers read them: each worker takes the
// next file in walk order, and whichever worker completes the line next in
// order writes it together with every line after it that is ready. Lines so
// leave in walk order without a writer thread, and small files cost no thread
// switch each. A worker waits while it is too far ahead of the output or
// while the walk has found nothing new.
class OrderedRun {
public:
    struct Done {
        std::string path;
        ArchiveLine line;
    };
    // Writes lines, in order, one caller at a time, told how many files the
    // walk has found so far; false stops the run.
    using Writer = std::function<bool(std::vector<Done>& lines, std::size_t found)>;

    OrderedRun(const LineMaker& makeLine, const Writer& write, unsigned workers)
        : makeLine_(makeLine), write_(write), window_(workers * kResultsAheadPerWorker) {}

    void add(ArchiveFile file) {
        std::lock_guard lock(mutex_);
        pending_.push_back(std::move(file));
        ++found_;
        if (waitingWorkers_ > 0) canTake_.notify_one();
    }

    // No more files will be added; workers end once every file is written.
    void walkDone() {
        std::lock_guard lock(mutex_);
        walkDone_ = true;
        canTake_.notify_all();
    }

    void work() {
        for (;;) {
            std::size_t index;
            ArchiveFile file;
            {
                std::unique_lock lock(mutex_);
                ++waitingWorkers_;
                canTake_.wait(lock, [&] {
                    return stopped_ || (walkDone_ && pending_.empty()) ||
                           (!pending_.empty() && next_ < written_ + window_);
                });
                --waitingWorkers_;
                if (stopped_ || pending_.empty()) return;
                index = next_++;
                file = std::move(pending_.front());
                pending_.pop_front();
            }
            ArchiveLine line = lineFor(file);
            std::unique_lock lock(mutex_);
            done_.emplace(index, Done{std::move(file.path), std::move(line)});
            if (!writing_ && index == written_) writeReady(lock);
        }
    }

private:
    // Writes the lines ready in order, releasing the mutex while writing;
    // other workers meanwhile only queue their lines.
    void writeReady(std::unique_lock<std::mutex>& lock) {
        writing_ = true;
        std::vector<Done> lines;
        while (!stopped_ && !done_.empty() && done_.begin()->first == written_) {
            lines.clear();
            for (auto it = done_.begin(); it != done_.end() && it->first == written_ + lines.size(); it = done_.erase(it))
                lines.push_back(std::move(it->second));
            const std::size_t found = found_;
            lock.unlock();
            const bool ok = write_(lines, found);
            lock.lock();
            written_ += lines.size();
            if (!ok) {
                stopped_ = true;
                done_.clear();
            }
            if (waitingWorkers_ > 0) canTake_.notify_all();
        }
        writing_ = false;
    }

    ArchiveLine lineFor(const ArchiveFile& file) {
        try {
            return makeLine_(file);
        } catch (const std::exception& e) {
            return failedLine(file.path, e.what());
        }
    }

    const LineMaker& makeLine_;
    const Writer& write_;
    const std::size_t window_;
    std::mutex mutex_;
    std::condition_variable canTake_;
    std::deque<ArchiveFile> pending_;
    std::size_t found_ = 0;
    std::size_t next_ = 0;
    std::size_t written_ = 0;
    unsigned waitingWorkers_ = 0;
    bool walkDone_ = false;
    bool writing_ = false;
    bool stopped_ = false;
    std::map<std::size_t, Done> done_;
};

// "N of M files" on stderr when it is a terminal (M grows while the walk
// goes on), and problems on lines of their own; callable from any thread.
class Progress {
public:
    Progress() : shown_(::isatty(STDERR_FILENO) == 1) {}

    void update(std::size_t done, std::size_t total) {
        if (!shown_) return;
        std::lock_guard lock(mutex_);
        const auto now = std::chrono::steady_clock::now();
        if (done < total && now - last_ < kProgressInterval) return;
        last_ = now;
        std::fprintf(stderr, "\rtessivo: %zu of %zu files", done, total);
    }

    void report(const std::string& path, const std::string& problem) {
        std::lock_guard lock(mutex_);
        if (shown_) std::fputs("\r\033[K", stderr);
        reportError(path, problem);
        last_ = {};
    }

    ~Progress() {
        if (shown_) std::fputs("\r\033[K", stderr);
    }

private:
    bool shown_;
    std::mutex mutex_;
    std::chrono::steady_clock::time_point last_{};
};

unsigned workerCount(unsigned requested) {
    return requested != 0 ? requested : std::max(1u, std::thread::hardware_concurrency());
}

// Every file to read for paths, in output order.
void walkArchiveFiles(const std::vector<std::string>& paths, const std::function<void(ArchiveFile)>& onFile,
                      const WalkProblem& onProblem) {
    Walker walker(onFile, onProblem);
    for (const auto& path : paths) {
        std::error_code ec;
        if (path != "-" && fs::is_directory(path, ec))
            walker.walk(path, {});
        else
            onFile({path, fs::path(path).filename().string()});
    }
}

}  // namespace

ArchiveLine failedLine(const std::string& path, const std::string& reason) {
    nlohmann::ordered_json line;
    line["path"] = path;
    line["ok"] = false;
    line["error"] = reason;
    return {jsonLine(line), kExitBadInput, reason};
}

CLI::Option* addJobsOption(CLI::App& command, ArchiveRun& run) {
    return command.add_option("--jobs", run.jobs, "files read at once (default: one per core)")
        ->check(CLI::Range(1u, 1024u));
}

int runArchive(const std::vector<std::string>& paths, const ArchiveRun& archive, const LineMaker& makeLine,
               const std::function<int(int, int)>& worse) {
    Progress progress;
    int status = kExitOk;    // of the lines, kept by whichever worker writes
    int walkStatus = kExitOk;
    bool writeFailed = false;
    std::size_t written = 0;
    const OrderedRun::Writer write = [&](std::vector<OrderedRun::Done>& lines, std::size_t found) {
        std::string out;
        for (auto& [path, line] : lines) {
            status = worse(status, line.status);
            if (!line.problem.empty()) progress.report(path, line.problem);
            out += line.json;
            out += '\n';
        }
        if (std::fwrite(out.data(), 1, out.size(), stdout) != out.size()) {
            writeFailed = true;
            return false;
        }
        written += lines.size();
        progress.update(written, found);
        return true;
    };
    const unsigned workers = workerCount(archive.jobs);
    OrderedRun run(makeLine, write, workers);
    {
        // The walk runs on this thread while the other workers read what it
        // finds; then this thread reads too.
        std::vector<std::jthread> others;
        for (unsigned i = 1; i < workers; ++i) others.emplace_back([&run] { run.work(); });
        try {
            walkArchiveFiles(
                paths, [&](ArchiveFile file) { run.add(std::move(file)); },
                [&](const std::string& path, const std::string& reason) {
                    progress.report(path, reason);
                    walkStatus = kExitBadInput;
                });
        } catch (...) {
            run.walkDone();
            throw;
        }
        run.walkDone();
        run.work();
    }
    if (writeFailed || std::fflush(stdout) != 0) {
        reportError("stdout", "write error");
        return kExitBadInput;
    }
    return worse(walkStatus, status);
}

}  // namespace tessivo::cli
