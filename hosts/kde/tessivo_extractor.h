// KFileMetaData extractor plug-in: gives Baloo (KDE's file search) the text
// of Outlook .msg files and TNEF streams (winmail.dat), and their subject,
// sender and date as the properties Title, Author and CreationDate.
//
// Baloo loads it from the Qt plug-in folder kf5/kfilemetadata and calls
// extract() for every file of type application/vnd.ms-outlook or
// application/vnd.ms-tnef; the text is the header lines and body exactly as
// the command `tessivo text` prints them.
#pragma once

#include <KFileMetaData/ExtractorPlugin>

namespace tessivo::kde {

class TessivoExtractor : public KFileMetaData::ExtractorPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "org.kde.kf5.kfilemetadata.ExtractorPlugin" FILE "tessivo_extractor.json")
    Q_INTERFACES(KFileMetaData::ExtractorPlugin)

public:
    explicit TessivoExtractor(QObject* parent = nullptr);

    QStringList mimetypes() const override;
    void extract(KFileMetaData::ExtractionResult* result) override;
};

}  // namespace tessivo::kde
