#include "text_archive.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include <nlohmann/json.hpp>

#include "cli_io.h"
#include "commands.h"
#include "tessivo/foundation/log.h"

namespace tessivo::cli {
namespace {

namespace fs = std::filesystem;

// Results kept ahead of the writer, per worker: bounds memory when one slow
// file holds back the output of the files after it.
constexpr std::size_t kResultsAheadPerWorker = 8;
constexpr auto kProgressInterval = std::chrono::milliseconds(200);

bool hasMsgExtension(const fs::path& path) {
    std::string ext = path.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
    return ext == ".msg";
}

// Called for a folder that cannot be listed, with the reason.
using WalkProblem = std::function<void(const std::string& path, const std::string& reason)>;

class Walker {
public:
    Walker(std::vector<std::string>& files, const WalkProblem& onProblem) : files_(files), onProblem_(onProblem) {}

    void walk(const fs::path& dir) {
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
            if (entry.is_directory(ec)) {
                walk(entry.path());
            } else if (hasMsgExtension(entry.path()) && isReadableCandidate(entry)) {
                files_.push_back(entry.path().string());
            }
        }
    }

private:
    // Regular files, and broken links so that they are reported; never
    // devices or pipes, whose reading could block.
    static bool isReadableCandidate(const fs::directory_entry& entry) {
        std::error_code ec;
        return entry.is_regular_file(ec) || (entry.is_symlink(ec) && !fs::exists(entry.path(), ec));
    }

    std::vector<std::string>& files_;
    const WalkProblem& onProblem_;
    std::set<std::pair<dev_t, ino_t>> visited_;
};

// The files to read for the given paths, in output order.
std::vector<std::string> listArchiveFiles(const std::vector<std::string>& paths, const WalkProblem& onProblem) {
    std::vector<std::string> files;
    Walker walker(files, onProblem);
    for (const auto& path : paths) {
        std::error_code ec;
        if (fs::is_directory(path, ec))
            walker.walk(path);
        else
            files.push_back(path);
    }
    return files;
}

// One output line (without its newline) for a file's result.
std::string archiveLine(const std::string& path, const importer::Result& result) {
    nlohmann::ordered_json line;
    line["path"] = path;
    switch (result.outcome) {
    case importer::Outcome::Text:
        line["ok"] = true;
        line["text"] = printableText(result.text);
        break;
    case importer::Outcome::NoBody:
        line["ok"] = true;
        line["text"] = "";
        break;
    case importer::Outcome::NotMessage:
    case importer::Outcome::Unreadable:
        line["ok"] = false;
        line["error"] = result.reason;
        break;
    }
    // File names need not be UTF-8: invalid bytes become U+FFFD rather than an error.
    return line.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

// The one line for a file, computed by a worker; no exception escapes.
struct Line {
    std::string json;
    int status = kExitOk;
};

// Each worker reads its files into one buffer that keeps its capacity:
// allocating and freeing a buffer per file costs more in the kernel than the reading.
importer::Result resultFor(const icu::UnicodeString& contentType, const std::string& path) {
    if (!importer::acceptsContentType(contentType)) return textOfFile(contentType, path);
    thread_local Bytes buffer;
    return importer::extractText(path, buffer);
}

Line processFile(const icu::UnicodeString& contentType, const std::string& path) {
    try {
        const importer::Result result = resultFor(contentType, path);
        return {archiveLine(path, result), exitStatusFor(result.outcome)};
    } catch (const std::exception& e) {
        importer::Result failed{importer::Outcome::Unreadable, {}, e.what()};
        return {archiveLine(path, failed), kExitBadInput};
    }
}

// Workers take files in order from a shared cursor; the writer prints lines
// in the same order. A worker waits while it is too far ahead of the writer.
// Each side wakes the other only when it is actually waiting, so that small
// files do not cost a thread switch each.
class OrderedRun {
public:
    OrderedRun(const std::vector<std::string>& files, const icu::UnicodeString& contentType, unsigned workers)
        : files_(files), contentType_(contentType), window_(workers * kResultsAheadPerWorker) {}

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
            Line line = processFile(contentType_, files_[index]);
            std::lock_guard lock(mutex_);
            done_.emplace(index, std::move(line));
            if (index == written_) ready_.notify_one();
        }
    }

    // Hands out no more files; workers end after their current one.
    void stop() {
        std::lock_guard lock(mutex_);
        next_ = files_.size();
        canTake_.notify_all();
    }

    // The next lines in file order: at least one, waiting for it, and all
    // that follow it without a gap. Empty once every file has been taken.
    std::vector<Line> takeReady() {
        std::vector<Line> lines;
        std::unique_lock lock(mutex_);
        if (written_ >= files_.size()) return lines;
        ready_.wait(lock, [&] { return done_.count(written_) > 0; });
        for (auto it = done_.begin(); it != done_.end() && it->first == written_; it = done_.erase(it), ++written_)
            lines.push_back(std::move(it->second));
        if (waitingWorkers_ > 0) canTake_.notify_all();
        return lines;
    }

private:
    const std::vector<std::string>& files_;
    const icu::UnicodeString& contentType_;
    const std::size_t window_;
    std::mutex mutex_;
    std::condition_variable canTake_;
    std::condition_variable ready_;
    std::size_t next_ = 0;
    std::size_t written_ = 0;
    unsigned waitingWorkers_ = 0;
    std::map<std::size_t, Line> done_;
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

void addArchiveOptions(CLI::App& textCommand, ArchiveOptions& options) {
    auto* jsonl = textCommand.add_flag("--jsonl", options.jsonl,
                         "archive mode: FILE may be a folder (walked recursively for *.msg, in any letter case); "
                         "one JSON object per file and line: {\"path\",\"ok\":true,\"text\"} or "
                         "{\"path\",\"ok\":false,\"error\"}; a message without a usable body gives ok true and "
                         "empty text; lines follow the sorted walk order");
    textCommand.add_option("--jobs", options.jobs, "archive mode: files read at once (default: one per core)")
        ->check(CLI::Range(1u, 1024u))
        ->needs(jsonl);
}

int runArchive(const TextOptions& options, const ArchiveOptions& archive) {
    if (!options.verbose) silenceLog();
    int status = kExitOk;
    const auto files = listArchiveFiles(options.files, [&](const std::string& path, const std::string& reason) {
        reportError(path, reason);
        status = kExitBadInput;
    });
    const icu::UnicodeString contentType = fromUtf8(options.contentType);
    const unsigned workerTotal = workerCount(archive.jobs, files.size());
    OrderedRun run(files, contentType, workerTotal);
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < workerTotal; ++i) workers.emplace_back([&run] { run.work(); });

    bool writeFailed = false;
    {
        Progress progress(files.size());
        std::size_t written = 0;
        for (auto lines = run.takeReady(); !lines.empty(); lines = run.takeReady()) {
            std::string out;
            for (auto& line : lines) {
                status = worseStatus(status, line.status);
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
