#include "archive_run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
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
    Walker(std::vector<ArchiveFile>& files, const WalkProblem& onProblem) : files_(files), onProblem_(onProblem) {}

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
                files_.push_back({entry.path().string(), below.string()});
        }
    }

private:
    // Regular files, and broken links so that they are reported; never
    // devices or pipes, whose reading could block.
    static bool isReadableCandidate(const fs::directory_entry& entry) {
        std::error_code ec;
        return entry.is_regular_file(ec) || (entry.is_symlink(ec) && !fs::exists(entry.path(), ec));
    }

    std::vector<ArchiveFile>& files_;
    const WalkProblem& onProblem_;
    std::set<std::pair<dev_t, ino_t>> visited_;
};

// Workers take files in order from a shared cursor; the writer prints lines
// in the same order. A worker waits while it is too far ahead of the writer.
// Each side wakes the other only when it is actually waiting, and the writer
// only for a batch of lines (half the window, or whatever is left when the
// workers must wait for it or have no more files): small files then cost no
// thread switch each.
class OrderedRun {
public:
    OrderedRun(const std::vector<ArchiveFile>& files, const LineMaker& makeLine, unsigned workers)
        : files_(files), makeLine_(makeLine), window_(workers * kResultsAheadPerWorker) {}

    void work() {
        for (;;) {
            std::size_t index;
            {
                std::unique_lock lock(mutex_);
                ++waitingWorkers_;
                canTake_.wait(lock, [&] { return next_ >= files_.size() || next_ < written_ + window_; });
                --waitingWorkers_;
                if (next_ >= files_.size()) return;
                index = next_++;
            }
            ArchiveLine line = lineFor(files_[index]);
            std::lock_guard lock(mutex_);
            done_.emplace(index, std::move(line));
            if (writerWaiting_ && batchReady()) ready_.notify_one();
        }
    }

    // Hands out no more files; workers end after their current one.
    void stop() {
        std::lock_guard lock(mutex_);
        next_ = files_.size();
        canTake_.notify_all();
    }

    // The next lines in file order: at least one, waiting for a batch, and
    // all that follow without a gap. Empty once every file has been written.
    std::vector<std::pair<std::size_t, ArchiveLine>> takeReady() {
        std::vector<std::pair<std::size_t, ArchiveLine>> lines;
        std::unique_lock lock(mutex_);
        if (written_ >= files_.size()) return lines;
        writerWaiting_ = true;
        ready_.wait(lock, [&] { return batchReady(); });
        writerWaiting_ = false;
        for (auto it = done_.begin(); it != done_.end() && it->first == written_; it = done_.erase(it), ++written_)
            lines.emplace_back(it->first, std::move(it->second));
        if (waitingWorkers_ > 0) canTake_.notify_all();
        return lines;
    }

private:
    // Called with the mutex held.
    bool batchReady() const {
        if (done_.empty() || done_.begin()->first != written_) return false;
        return done_.size() * 2 >= window_ || next_ >= written_ + window_ || next_ >= files_.size();
    }

    ArchiveLine lineFor(const ArchiveFile& file) {
        try {
            return makeLine_(file);
        } catch (const std::exception& e) {
            return failedLine(file.path, e.what());
        }
    }

    const std::vector<ArchiveFile>& files_;
    const LineMaker& makeLine_;
    const std::size_t window_;
    std::mutex mutex_;
    std::condition_variable canTake_;
    std::condition_variable ready_;
    std::size_t next_ = 0;
    std::size_t written_ = 0;
    unsigned waitingWorkers_ = 0;
    bool writerWaiting_ = false;
    std::map<std::size_t, ArchiveLine> done_;
};

class Progress {
public:
    explicit Progress(std::size_t total) : total_(total), shown_(::isatty(STDERR_FILENO) == 1) {}

    void update(std::size_t done) {
        if (!shown_) return;
        const auto now = std::chrono::steady_clock::now();
        if (done < total_ && now - last_ < kProgressInterval) return;
        last_ = now;
        std::fprintf(stderr, "\rtessivo: %zu of %zu files", done, total_);
    }

    // A line of its own on stderr, without mixing with the progress line.
    void report(const std::string& path, const std::string& problem) {
        if (shown_) std::fputs("\r\033[K", stderr);
        reportError(path, problem);
        last_ = {};
    }

    ~Progress() {
        if (shown_) std::fputs("\r\033[K", stderr);
    }

private:
    std::size_t total_;
    bool shown_;
    std::chrono::steady_clock::time_point last_{};
};

unsigned workerCount(unsigned requested, std::size_t files) {
    unsigned n = requested != 0 ? requested : std::max(1u, std::thread::hardware_concurrency());
    return static_cast<unsigned>(std::clamp<std::size_t>(files, 1, n));
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

std::vector<ArchiveFile> listArchiveFiles(const std::vector<std::string>& paths, const WalkProblem& problem) {
    std::vector<ArchiveFile> files;
    Walker walker(files, problem);
    for (const auto& path : paths) {
        std::error_code ec;
        if (path != "-" && fs::is_directory(path, ec))
            walker.walk(path, {});
        else
            files.push_back({path, fs::path(path).filename().string()});
    }
    return files;
}

int runArchive(const std::vector<std::string>& paths, const ArchiveRun& archive, const LineMaker& makeLine,
               const std::function<int(int, int)>& worse) {
    int status = kExitOk;
    const auto files = listArchiveFiles(paths, [&](const std::string& path, const std::string& reason) {
        reportError(path, reason);
        status = kExitBadInput;
    });
    const unsigned workerTotal = workerCount(archive.jobs, files.size());
    OrderedRun run(files, makeLine, workerTotal);
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < workerTotal; ++i) workers.emplace_back([&run] { run.work(); });

    bool writeFailed = false;
    {
        Progress progress(files.size());
        std::size_t written = 0;
        for (auto lines = run.takeReady(); !lines.empty(); lines = run.takeReady()) {
            std::string out;
            for (auto& [index, line] : lines) {
                status = worse(status, line.status);
                if (!line.problem.empty()) progress.report(files[index].path, line.problem);
                out += line.json;
                out += '\n';
            }
            if (std::fwrite(out.data(), 1, out.size(), stdout) != out.size()) {
                writeFailed = true;
                run.stop();
                break;
            }
            written += lines.size();
            progress.update(written);
        }
    }
    for (auto& worker : workers) worker.join();
    if (writeFailed || std::fflush(stdout) != 0) {
        reportError("stdout", "write error");
        return kExitBadInput;
    }
    return status;
}

}  // namespace tessivo::cli
