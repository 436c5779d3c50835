// Recoll's protocol for persistent ("execm") input handlers: the indexer
// starts the handler once and sends it one request per document over stdin;
// the handler answers each over stdout.
//
//   recoll::ExecmReader reader(std::cin);
//   recoll::Request request;
//   while (reader.next(request) == recoll::ReadStatus::Request) {
//       recoll::Answer answer;
//       answer.add("Document", text).add("Mimetype", "text/plain").add("Eofnext", "");
//       recoll::writeAnswer(std::cout, answer);
//   }
//
// Both directions use the same framing: a message is a list of elements, each
// a line "Name: SIZE" followed by exactly SIZE bytes of data, and ends with an
// empty line. Requests carry "filename" (empty: the next document of the file
// already open), "ipath" (a document inside the file) and "mimetype".
#pragma once

#include <istream>
#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace tessivo::cli::recoll {

// Element names of a request are lower-cased, without the colon.
using Request = std::map<std::string, std::string>;

enum class ReadStatus { Request, End, Malformed };

class ExecmReader {
public:
    explicit ExecmReader(std::istream& in) : in_(in) {}

    // Reads the next request. End: the indexer closed the stream between
    // requests. Malformed: a bad element line, an element cut short, or too
    // many or too large elements; error() says which.
    ReadStatus next(Request& request);
    const std::string& error() const { return error_; }

private:
    std::istream& in_;
    std::string error_;
};

// The elements of one answer, in order. Names are sent as given.
class Answer {
public:
    Answer& add(std::string name, std::string data) {
        elements_.emplace_back(std::move(name), std::move(data));
        return *this;
    }
    const std::vector<std::pair<std::string, std::string>>& elements() const { return elements_; }

private:
    std::vector<std::pair<std::string, std::string>> elements_;
};

// Writes the answer and its closing empty line, then flushes; false when the
// stream fails.
bool writeAnswer(std::ostream& out, const Answer& answer);

}  // namespace tessivo::cli::recoll
