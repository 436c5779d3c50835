#include "tessivo_extractor.h"

#include <mutex>

#include <QFile>
#include <QLoggingCategory>

#include "tessivo/foundation/log.h"
#include "tessivo/importer/importer.h"
#include "tessivo/toolkit/string_cleaning.h"

namespace tessivo::kde {
namespace {

Q_LOGGING_CATEGORY(lcTessivo, "org.tessivo.extractor", QtWarningMsg)

const QString kOutlookMessageType = QStringLiteral("application/vnd.ms-outlook");

// The library's diagnostics go to Qt's log under our category, so that the
// extractor process keeps its stderr protocol clean and users can enable them
// with QT_LOGGING_RULES="org.tessivo.extractor.debug=true".
void routeLogToQt() {
    static std::once_flag once;
    std::call_once(once, [] {
        setLogSink([](std::string_view line) {
            qCDebug(lcTessivo, "%.*s", static_cast<int>(line.size()), line.data());
        });
    });
}

// The text without the NUL characters that plain-text bodies may end in
// (streams are read in whole sectors), as `tessivo text` prints it.
QString searchableText(const icu::UnicodeString& text) {
    const icu::UnicodeString trimmed = WindowsCodePageWangersNSStringAdditions::trimTrailingNulls(text);
    return QString(reinterpret_cast<const QChar*>(trimmed.getBuffer()), trimmed.length());
}

}  // namespace

TessivoExtractor::TessivoExtractor(QObject* parent) : KFileMetaData::ExtractorPlugin(parent) {
    routeLogToQt();
}

QStringList TessivoExtractor::mimetypes() const { return {kOutlookMessageType}; }

void TessivoExtractor::extract(KFileMetaData::ExtractionResult* result) {
    result->addType(KFileMetaData::Type::Document);
    if (!(result->inputFlags() & KFileMetaData::ExtractionResult::ExtractPlainText)) return;

    const std::string path = QFile::encodeName(result->inputUrl()).toStdString();
    const importer::Result found = importer::extractText(path);
    if (found.outcome == importer::Outcome::Text) {
        result->append(searchableText(found.text));
    } else if (!found.reason.empty()) {
        qCDebug(lcTessivo, "%s: %s", path.c_str(), found.reason.c_str());
    }
}

}  // namespace tessivo::kde
