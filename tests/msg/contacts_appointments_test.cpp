// Contact and appointment messages: their fields through direct and named
// properties, and the refinement of appointment times.
#include "msg_test_support.h"
#include "tessivo/foundation/date_format.h"

namespace tessivo {
namespace {

using testing::ascii;
using testing::fileTimeFromUnix;
using testing::MsgWriter;
using testing::readMessage;
using testing::text;

constexpr std::uint32_t kTime = 0x0040;
constexpr std::uint32_t kFlag = 0x000B;
constexpr std::uint32_t kInt32 = 0x0003;

// Tuesday 5 March 2024, midnight UTC (tests run with TZ=UTC).
constexpr std::int64_t kDay = 1709596800;
std::int64_t at(int hour, int minute) { return kDay + hour * 3600 + minute * 60; }

std::string utc(const Dictionary& d, const char16_t* key) {
    const Value* v = d.get(key);
    if (!v) return "<missing>";
    if (!v->is<Date>()) return "<not a date>";
    return toUtf8(DateFormatter::withPattern(u"yyyy-MM-dd HH:mm", "UTC")->format(*v->as<Date>()));
}

MsgWriter contact() {
    MsgWriter m;
    m.string8(0x001A, "IPM.Contact");
    m.unicode(0x0037, "Ann Example");
    return m;
}

MsgWriter appointment(const char* subject) {
    MsgWriter m;
    m.string8(0x001A, "IPM.Appointment");
    m.unicode(0x0037, subject);
    return m;
}

TEST(ContactTest, ReadsDirectAndNamedFields) {
    MsgWriter m = contact();
    m.string8(0x3A06, "Ann");
    m.string8(0x3A11, "Example");
    m.unicode(0x3A16, "Example Ltd");  // only the Unicode form: the 8-bit look-up falls back to it
    m.string8(0x3A15, "1 Main Street\nSpringfield");
    m.string8(0x3A08, "");  // empty: no field
    m.unicode(m.named(0x8083), "ann@example.com");  // no 0x801C: the next candidate
    m.string8(m.named(0x8093), "ann@home.example");  // only 8-bit: read through the fallback
    m.unicode(m.named(0x80A4), "ann@work.example");
    const Dictionary d = readMessage(m);
    EXPECT_EQ(text(d, u"MessageType"), "Contact");
    EXPECT_EQ(text(d, u"Given Name"), "Ann");
    EXPECT_EQ(text(d, u"Surname"), "Example");
    EXPECT_EQ(text(d, u"Company Name"), "Example Ltd");
    EXPECT_EQ(text(d, u"Post Address"), "1 Main Street\n\t\t\t\t\tSpringfield");
    EXPECT_EQ(text(d, u"Contact Email 1"), "ann@example.com");
    EXPECT_EQ(text(d, u"Contact Email 2"), "ann@home.example");
    EXPECT_EQ(text(d, u"Contact Email 3"), "ann@work.example");
    EXPECT_FALSE(d.contains(u"Work Phone"));
    EXPECT_FALSE(d.contains(u"Nickname"));
}

TEST(ContactTest, FirstNonEmptyEmailCandidateWins) {
    MsgWriter first = contact();
    first.unicode(first.named(0x8083), "second@example.com");
    first.unicode(first.named(0x801C), "first@example.com");
    EXPECT_EQ(text(readMessage(first), u"Contact Email 1"), "first@example.com");

    MsgWriter emptyFirst = contact();
    emptyFirst.unicode(emptyFirst.named(0x801C), "");
    emptyFirst.unicode(emptyFirst.named(0x802B), "last@example.com");
    EXPECT_EQ(text(readMessage(emptyFirst), u"Contact Email 1"), "last@example.com");
}

TEST(ContactTest, WithoutNamedPropertyMapOnlyDirectFields) {
    MsgWriter m = contact();
    m.string8(0x3A06, "Ann");
    // Streams under the numeric names themselves are not the named properties.
    m.unicode(0x801C, "direct@example.com");
    m.unicode(0x8093, "direct@example.com");
    const Dictionary d = readMessage(m);
    EXPECT_EQ(text(d, u"Given Name"), "Ann");
    EXPECT_FALSE(d.contains(u"Contact Email 1"));
    EXPECT_FALSE(d.contains(u"Contact Email 2"));
}

TEST(AppointmentTest, TimesLandCrossedWhileStartAndEndAreFree) {
    MsgWriter m = appointment("Review");
    m.property(m.named(0x820D), kTime, fileTimeFromUnix(at(10, 0)));  // its start
    m.property(m.named(0x820E), kTime, fileTimeFromUnix(at(11, 30)));  // its end
    m.property(m.named(0x8502), kTime, fileTimeFromUnix(at(9, 45)));   // reminder: its own key
    m.property(m.named(0x8236), kTime, 0);                             // no time: no key
    const Dictionary d = readMessage(m);
    EXPECT_EQ(text(d, u"MessageType"), "Calendar");
    EXPECT_EQ(utc(d, u"Start Time"), "2024-03-05 11:30");
    EXPECT_EQ(utc(d, u"End Time"), "2024-03-05 10:00");
    EXPECT_EQ(utc(d, u"Reminder Time"), "2024-03-05 09:45");
    EXPECT_FALSE(d.contains(u"Recurrence End"));
    EXPECT_FALSE(d.contains(u"Duration"));  // the start has a time of day: nothing inferred
}

TEST(AppointmentTest, LaterTimesOfAListKeepTheirOwnKeys) {
    MsgWriter m = appointment("Review");
    m.property(m.named(0x8516), kTime, fileTimeFromUnix(at(8, 0)));  // Common Start: "End Time"
    m.property(m.named(0x8268), kTime, fileTimeFromUnix(at(8, 5)));  // UTC Start: "End Time" is taken
    m.property(m.named(0x8269), kTime, fileTimeFromUnix(at(9, 0)));  // UTC End: "Start Time"
    m.property(m.named(0x0061), kTime, fileTimeFromUnix(at(9, 5)));  // Appt End Time: "Start Time" is taken
    const Dictionary d = readMessage(m);
    EXPECT_EQ(utc(d, u"End Time"), "2024-03-05 08:00");
    EXPECT_EQ(utc(d, u"UTC Start"), "2024-03-05 08:05");
    EXPECT_EQ(utc(d, u"Start Time"), "2024-03-05 09:00");
    EXPECT_EQ(utc(d, u"Appt End Time"), "2024-03-05 09:05");
    EXPECT_FALSE(d.contains(u"Common Start"));
}

TEST(AppointmentTest, FlagsIntegersAndStrings) {
    MsgWriter m = appointment("Review");
    m.property(m.named(0x820E), kTime, fileTimeFromUnix(at(10, 0)));
    m.property(m.named(0x8215), kFlag, 1);
    m.property(m.named(0x8223), kFlag, 0x0100);  // only the first byte counts
    m.property(m.named(0x8213), kInt32, 60);     // integers are never stored
    m.property(m.named(0x8231), kInt32, 2);
    m.string8(m.named(0x8208), "Room 4");
    m.string8(m.named(0x8232), "every Tuesday from 10:00 to 11:00");
    m.string8(m.named(0x8501), "15");
    const Dictionary d = readMessage(m);
    EXPECT_EQ(d.get(u"All Day Flag")->toInt64(), 1);
    EXPECT_EQ(d.get(u"Recurrence Flag")->toInt64(), 0);
    EXPECT_FALSE(d.contains(u"Duration"));
    EXPECT_FALSE(d.contains(u"Recurrence Type"));
    EXPECT_EQ(text(d, u"Reminder Minutes"), "15");  // from the string table
    EXPECT_EQ(text(d, u"Location"), "Room 4");
    EXPECT_EQ(text(d, u"Location Text"), "Room 4");
    EXPECT_EQ(text(d, u"Recurrence Desc"), "every Tuesday from 10:00 to 11:00");
    EXPECT_FALSE(d.contains(u"Label"));
}

TEST(AppointmentTest, MissingStringsHoldTheHtmlBody) {
    MsgWriter m = appointment("Review");
    m.property(m.named(0x820E), kTime, fileTimeFromUnix(at(10, 0)));
    m.named(0x8208);
    m.binary(0x1013, ascii("<p>Agenda</p>"));
    const Dictionary d = readMessage(m);
    Bytes html = ascii("<p>Agenda</p>");
    html.resize(64);  // the stream's whole (mini) sector, as streams are read
    for (const char16_t* key : {u"Location", u"Location Text"}) {
        ASSERT_TRUE(d.get(key) && d.get(key)->bytes()) << toUtf8(key);
        EXPECT_EQ(*d.get(key)->bytes(), html);
    }
    EXPECT_FALSE(d.contains(u"Timezone"));  // not in the map
}

TEST(AppointmentTest, WithoutNamedPropertyMapNoFields) {
    MsgWriter m = appointment("");
    m.property(0x820D, kTime, fileTimeFromUnix(at(10, 0)));
    m.string8(0x8208, "Room 4");
    m.unicode(0x0C1A, "Ann");
    const Bytes file = m.build();
    const auto mole = Mole::initWithData(file);
    ASSERT_TRUE(mole);
    EXPECT_TRUE(ReadMSG::buildAppointmentForMessage(mole->getOLEDictionary()).empty());

    const Dictionary d = ReadMSG::initWithData(file)->returnFullDictionary();
    EXPECT_EQ(text(d, u"MessageType"), "Calendar");
    // No start and no text to infer one from; the organizer is the sender.
    for (const char16_t* key : {u"Start Time", u"End Time", u"Location", u"Duration"})
        EXPECT_FALSE(d.contains(key)) << toUtf8(key);
    ASSERT_TRUE(d.get(u"Organizer"));
    EXPECT_EQ(*d.get(u"Organizer"), *d.get(u"From"));
}

TEST(AppointmentTest, MidnightLunchOutOfRangeTakesTheMealTimes) {
    MsgWriter m = appointment("Lunch 25:00-26:00");
    m.property(m.named(0x820D), kTime, fileTimeFromUnix(kDay));
    m.property(m.named(0x820E), kTime, fileTimeFromUnix(kDay));
    const Dictionary d = readMessage(m);
    EXPECT_EQ(utc(d, u"Start Time"), "2024-03-05 12:00");
    EXPECT_EQ(utc(d, u"End Time"), "2024-03-05 14:00");
    ASSERT_TRUE(d.get(u"Duration"));
    EXPECT_EQ(d.get(u"Duration")->toInt64(), 120);
}

TEST(AppointmentTest, SourceFileNameRefinesAfterReading) {
    MsgWriter m = appointment("Planning");
    m.property(m.named(0x820E), kTime, fileTimeFromUnix(kDay));
    const Bytes file = m.build();
    auto reader = ReadMSG::initWithData(file);
    ASSERT_TRUE(reader);
    EXPECT_EQ(utc(reader->returnFullDictionary(), u"Start Time"), "2024-03-05 00:00");

    reader->setSourceFilename(icu::UnicodeString(u"meeting 0930-1045.msg"));
    reader->reEnrichCalendarDataIfNeeded();
    const Dictionary d = reader->returnFullDictionary();
    EXPECT_EQ(utc(d, u"Start Time"), "2024-03-05 09:30");
    EXPECT_EQ(utc(d, u"End Time"), "2024-03-05 10:45");
    EXPECT_EQ(d.get(u"Duration")->toInt64(), 75);
}

TEST(AppointmentTest, RefiningAgainNeedsACalendarItemAndAFileName) {
    MsgWriter note;
    note.string8(0x001A, "IPM.Note");
    note.unicode(0x0037, "Lunch");
    const Bytes noteFile = note.build();
    auto reader = ReadMSG::initWithData(noteFile);
    ASSERT_TRUE(reader);
    const Dictionary before = reader->returnFullDictionary();
    reader->setSourceFilename(icu::UnicodeString(u"slot 9-11.msg"));
    reader->reEnrichCalendarDataIfNeeded();
    EXPECT_EQ(reader->returnFullDictionary(), before);

    MsgWriter item = appointment("Planning");
    item.property(item.named(0x820E), kTime, fileTimeFromUnix(kDay));
    const Bytes itemFile = item.build();
    auto calendar = ReadMSG::initWithData(itemFile);
    ASSERT_TRUE(calendar);
    const Dictionary unrefined = calendar->returnFullDictionary();
    calendar->setSourceFilename(icu::UnicodeString());
    calendar->reEnrichCalendarDataIfNeeded();
    EXPECT_EQ(calendar->returnFullDictionary(), unrefined);
}

// Every prefix of a contact and of an appointment with all their kinds of
// fields is read without a crash (exact-size copies for the sanitizer).
TEST(ContactsAppointmentsDamageTest, TruncatedItemsAreReadAsFarAsTheyGo) {
    silenceLog();
    MsgWriter c = contact();
    c.string8(0x3A15, "a\nb");
    c.unicode(c.named(0x801C), "ann@example.com");
    MsgWriter a = appointment("Lunch 25:00-26:00");
    a.property(a.named(0x820D), kTime, fileTimeFromUnix(kDay));
    a.property(a.named(0x8215), kFlag, 1);
    a.property(a.named(0x8213), kInt32, 60);
    a.string8(a.named(0x8232), "every day at 12:30");
    a.named(0x8208);
    a.binary(0x1013, ascii("<p>x</p>"));
    for (const MsgWriter* w : {&c, &a}) {
        const Bytes file = w->build();
        for (std::size_t size = 0; size < file.size(); size += 64) {
            const Bytes cut(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            if (auto reader = ReadMSG::initWithData(cut)) {
                reader->setSourceFilename(icu::UnicodeString(u"x 0930-1045.msg"));
                reader->reEnrichCalendarDataIfNeeded();
            }
        }
    }
}

}  // namespace
}  // namespace tessivo
