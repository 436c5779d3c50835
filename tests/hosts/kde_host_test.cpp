// KDE's file search reads a message's text through the plug-in: loaded by
// KFileMetaData's own ExtractorCollection from the build tree, and chosen for
// *.msg files by the MIME package installed beside it.
#include <filesystem>

#include <KFileMetaData/Extractor>
#include <KFileMetaData/ExtractorCollection>
#include <KFileMetaData/SimpleExtractionResult>
#include <QCoreApplication>
#include <QDateTime>
#include <QMimeDatabase>
#include <gtest/gtest.h>

#include "hosts/message_maker.h"
#include "hosts/run_command.h"
#include "support/corpus.h"
#include "support/shrinking_file.h"

namespace tessivo::testing {
namespace {

namespace fs = std::filesystem;

const QString kOutlookType = QStringLiteral("application/vnd.ms-outlook");

class KdeHostTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        root_ = new fs::path(freshScratchDir("kde-host-test"));
        fs::create_directories(*root_ / "share" / "mime" / "packages");
        fs::copy_file(TESSIVO_MIME_PACKAGE, *root_ / "share" / "mime" / "packages" / "tessivo-outlook-msg.xml");
        mimeDatabaseBuilt_ =
            runCommand("update-mime-database " + shellQuote((*root_ / "share" / "mime").string()) + " 2>&1").status == 0;
        // Before Qt starts: the build tree's plug-in folder and MIME database come first.
        qputenv("QT_PLUGIN_PATH", TESSIVO_KDE_PLUGIN_PATH);
        qputenv("XDG_DATA_DIRS", QByteArray::fromStdString((*root_ / "share").string()) + ":/usr/share");
        static int argc = 1;
        static char name[] = "kde_host_test";
        static char* argv[] = {name, nullptr};
        app_ = new QCoreApplication(argc, argv);
    }
    static void TearDownTestSuite() {
        delete app_;
        fs::remove_all(*root_);
        delete root_;
    }

    static QString extractText(const fs::path& file, KFileMetaData::ExtractionResult::Flags flags,
                               QVector<KFileMetaData::Type::Type>* types = nullptr, const QString& type = kOutlookType) {
        KFileMetaData::ExtractorCollection collection;
        const auto extractors = collection.fetchExtractors(type);
        EXPECT_EQ(extractors.size(), 1);
        if (extractors.isEmpty()) return {};
        KFileMetaData::SimpleExtractionResult result(QString::fromStdString(file.string()), type, flags);
        extractors.front()->extract(&result);
        if (types) *types = result.types();
        return result.text();
    }

    static inline fs::path* root_ = nullptr;
    static inline QCoreApplication* app_ = nullptr;
    static inline bool mimeDatabaseBuilt_ = false;
};

TEST_F(KdeHostTest, ReadsEveryBodyKindThroughExtractorCollection) {
    for (BodyKind kind : kAllBodyKinds) {
        const fs::path file = *root_ / (std::string(bodyKindName(kind)) + ".msg");
        const std::string word = "kestrel" + std::string(bodyKindName(kind));
        ASSERT_TRUE(writeMessage(file, kind, "A note on the " + word));
        QVector<KFileMetaData::Type::Type> types;
        const QString text = extractText(file, KFileMetaData::ExtractionResult::ExtractPlainText, &types);
        EXPECT_TRUE(text.contains(QString::fromStdString(word))) << bodyKindName(kind) << ": " << text.toStdString();
        EXPECT_FALSE(text.contains(QChar(u'\0')));  // sector padding of plain-text bodies is dropped
        EXPECT_TRUE(types.contains(KFileMetaData::Type::Document));
    }
}

TEST_F(KdeHostTest, ReadsWinmailDat) {
    const fs::path file = *root_ / "winmail.dat";
    ASSERT_TRUE(writeFile(file, makeTnefMessage("A note on the osprey")));
    EXPECT_EQ(QMimeDatabase().mimeTypeForFile(QString::fromStdString(file.string())).name(),
              QStringLiteral("application/vnd.ms-tnef"));
    const QString text = extractText(file, KFileMetaData::ExtractionResult::ExtractPlainText, nullptr,
                                     QStringLiteral("application/vnd.ms-tnef"));
    EXPECT_TRUE(text.contains(QStringLiteral("osprey"))) << text.toStdString();
}

TEST_F(KdeHostTest, MetadataOnlyRequestAndDamagedFileGiveNoText) {
    const fs::path file = *root_ / "meta.msg";
    ASSERT_TRUE(writeMessage(file, BodyKind::Html, "heron"));
    EXPECT_TRUE(extractText(file, KFileMetaData::ExtractionResult::ExtractMetaData).isEmpty());

    Bytes damaged = makeMessage(BodyKind::Html, "heron");
    damaged.resize(damaged.size() / 3);
    const fs::path broken = *root_ / "broken.msg";
    ASSERT_TRUE(writeFile(broken, damaged));
    EXPECT_FALSE(extractText(broken, KFileMetaData::ExtractionResult::ExtractPlainText).contains("heron"));
}

// A message that another process cuts short and writes again while the
// plug-in reads it: never a crash, text as far as it was read or none.
TEST_F(KdeHostTest, FileShrinkingWhileItIsRead) {
    std::string words;
    for (int i = 0; i < 100000; ++i) words += "heron ";
    ShrinkingFile file(*root_ / "shrinking.msg", makeMessage(BodyKind::UnicodeText, words));
    for (int i = 0; i < 30; ++i) {
        const QString text = extractText(file.path(), KFileMetaData::ExtractionResult::ExtractPlainText);
        const QString header = QStringLiteral("Subject: Message for the search hosts\n");
        EXPECT_TRUE(text.isEmpty() || text == header || text.startsWith(header + QStringLiteral("\nheron ")))
            << text.left(60).toStdString();
    }
}

TEST_F(KdeHostTest, GivesSubjectSenderAndDateAsPropertiesAndTheRestAsText) {
    const MailFacts facts{
        .subject = "Квартальный отчёт",
        .senderName = "Jane Roe",
        .senderAddress = "jane@example.com",
        .recipients = {{"Ann Lee", "ann@example.org"}},
        .deliveredAt = 1700000000,
        .attachmentNames = {"forecast.xlsx"}};
    const fs::path file = *root_ / "mail.msg";
    ASSERT_TRUE(writeFile(file, makeMailMessage(facts, "The numbers are in")));
    KFileMetaData::ExtractorCollection collection;
    const auto extractors = collection.fetchExtractors(kOutlookType);
    ASSERT_EQ(extractors.size(), 1);
    KFileMetaData::SimpleExtractionResult result(QString::fromStdString(file.string()), kOutlookType,
                                                 KFileMetaData::ExtractionResult::ExtractMetaData |
                                                     KFileMetaData::ExtractionResult::ExtractPlainText);
    extractors.front()->extract(&result);
    const auto properties = result.properties(KFileMetaData::PropertiesMapType::MultiMap);
    EXPECT_EQ(properties.value(KFileMetaData::Property::Title).toString(), QStringLiteral("Квартальный отчёт"));
    EXPECT_EQ(properties.value(KFileMetaData::Property::Author).toString(),
              QStringLiteral("Jane Roe <jane@example.com>"));
    EXPECT_EQ(properties.value(KFileMetaData::Property::CreationDate).toDateTime(),
              QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC));
    // Recipients and attachment names have no property: the header lines carry them.
    EXPECT_EQ(result.text().trimmed(), QStringLiteral("Subject: Квартальный отчёт\n"
                                                      "From: Jane Roe <jane@example.com>\n"
                                                      "To: Ann Lee <ann@example.org>\n"
                                                      "Date: 2023-11-14 22:13:20 UTC\n"
                                                      "Attachments: forecast.xlsx\n\n"
                                                      "The numbers are in"));
}

TEST_F(KdeHostTest, MimePackageNamesMsgFilesOutlookMessages) {
    ASSERT_TRUE(mimeDatabaseBuilt_) << "update-mime-database failed";
    const fs::path file = *root_ / "Mail.MSG";
    ASSERT_TRUE(writeMessage(file, BodyKind::UnicodeText, "wren"));
    EXPECT_EQ(QMimeDatabase().mimeTypeForFile(QString::fromStdString(file.string())).name(), kOutlookType);
}

}  // namespace
}  // namespace tessivo::testing
