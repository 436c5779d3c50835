#include "tessivo_extractor.h"

#include <cmath>
#include <mutex>

#include <QDateTime>
#include <QFile>
#include <QLoggingCategory>

#include "tessivo/foundation/log.h"
#include "tessivo/foundation/file_bytes.h"
#include "tessivo/text/message_text.h"

namespace tessivo::kde {
namespace {

Q_LOGGING_CATEGORY(lcTessivo, "org.tessivo.extractor", QtWarningMsg)

const QString kOutlookMessageType = QStringLiteral("application/vnd.ms-outlook");
// winmail.dat and *.tnef, by the system's own MIME database.
const QString kTnefType = QStringLiteral("application/vnd.ms-tnef");

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

QString qString(const icu::UnicodeString& text) {
    return QString(reinterpret_cast<const QChar*>(text.getBuffer()), text.length());
}

// The message's subject, sender and date as the properties KDE shows and
// searches (title:, author:); recipients and attachment names have no
// property of their own.
void addMetadata(KFileMetaData::ExtractionResult& result, const importer::MessageMetadata& facts) {
    if (!facts.title.isEmpty()) result.add(KFileMetaData::Property::Title, qString(facts.title));
    if (!facts.author.isEmpty()) result.add(KFileMetaData::Property::Author, qString(facts.author));
    if (facts.date)
        result.add(KFileMetaData::Property::CreationDate,
                   QDateTime::fromSecsSinceEpoch(std::llround(facts.date->secondsSince1970), Qt::UTC));
}

}  // namespace

TessivoExtractor::TessivoExtractor(QObject* parent) : KFileMetaData::ExtractorPlugin(parent) {
    routeLogToQt();
}

QStringList TessivoExtractor::mimetypes() const { return {kOutlookMessageType, kTnefType}; }

void TessivoExtractor::extract(KFileMetaData::ExtractionResult* result) {
    result->addType(KFileMetaData::Type::Document);
    const auto flags = result->inputFlags();
    const std::string path = QFile::encodeName(result->inputUrl()).toStdString();
    Bytes bytes;
    std::string reason;
    if (!readWholeFile(path, bytes, reason)) {
        qCDebug(lcTessivo, "%s: %s", path.c_str(), reason.c_str());
        return;
    }
    const text::MessageText found = text::messageText(bytes);
    if (found.outcome != importer::Outcome::Text && found.outcome != importer::Outcome::NoBody) {
        qCDebug(lcTessivo, "%s: %s", path.c_str(), found.reason.c_str());
        return;
    }
    if (flags & KFileMetaData::ExtractionResult::ExtractMetaData) addMetadata(*result, found.facts);
    // The header lines come with the body, so that recipients and attachment
    // names, which have no property of their own, are found too.
    // An empty piece would still add the separator KFileMetaData puts after each one.
    const icu::UnicodeString text = found.text();
    if ((flags & KFileMetaData::ExtractionResult::ExtractPlainText) && !text.isEmpty()) result->append(qString(text));
}

}  // namespace tessivo::kde
