// Property identifiers and types the message reader looks up, and the names
// of the streams and storages that hold them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace tessivo::msg {

// Property types.
constexpr std::uint32_t kTypeInt32 = 0x0003;
constexpr std::uint32_t kTypeBoolean = 0x000B;
constexpr std::uint32_t kTypeObject = 0x000D;
constexpr std::uint32_t kTypeString8 = 0x001E;
constexpr std::uint32_t kTypeUnicode = 0x001F;
constexpr std::uint32_t kTypeTime = 0x0040;
constexpr std::uint32_t kTypeBinary = 0x0102;

// Message properties.
constexpr std::uint32_t kMessageClass = 0x001A;
constexpr std::uint32_t kSubject = 0x0037;
constexpr std::uint32_t kSubmissionId = 0x0047;
constexpr std::uint32_t kTransportHeaders = 0x007D;
constexpr std::uint32_t kSenderName = 0x0C1A;
constexpr std::uint32_t kDeliveryTime = 0x0E06;
constexpr std::uint32_t kBody = 0x1000;
constexpr std::uint32_t kRtfCompressed = 0x1009;
constexpr std::uint32_t kRtfSecondChoice = 0x1008;
constexpr std::uint32_t kHtml = 0x1013;
constexpr std::uint32_t kVoiceNoteData = 0x6803;
constexpr std::uint32_t kVoiceNoteText = 0x8000;
// Sender addresses, in the order they are tried; the 0x80.. ones are read
// as stream names directly, without the named-property map.
constexpr std::array<std::uint32_t, 8> kSenderAddresses = {0x0065, 0x0C1F, 0x801C, 0x8083,
                                                           0x8011, 0x802B, 0x5D01, 0x5D02};

// Recipient properties.
constexpr std::uint32_t kRecipientName = 0x3001;
constexpr std::array<std::uint32_t, 2> kRecipientAddresses = {0x3003, 0x39FE};

// Attachment properties.
constexpr std::uint32_t kAttachData = 0x3701;
constexpr std::uint32_t kAttachMethod = 0x3705;
constexpr std::uint32_t kAttachMimeTag = 0x370E;
constexpr std::uint32_t kAttachDisposition = 0x3716;
constexpr std::uint32_t kAttachContentLocation = 0x3713;
constexpr std::uint32_t kAttachContentId = 0x3712;
constexpr std::uint32_t kAttachMetaData = 0x370F;
// Name properties, in the order they are tried.
constexpr std::array<std::uint32_t, 3> kAttachNames = {0x3707, 0x3704, 0x3001};
// The attachment method of an attached message.
constexpr std::uint32_t kAttachEmbeddedMessage = 5;

// Streams of the named-property map.
constexpr std::uint32_t kNameIdGuids = 0x0002;
constexpr std::uint32_t kNameIdEntries = 0x0003;
constexpr std::uint32_t kNameIdStrings = 0x0004;

// Names below a storage.
inline constexpr char16_t kSubstgPrefix[] = u"__substg1.0_";
inline constexpr char16_t kPropertiesStream[] = u"__properties_version1.0";
inline constexpr char16_t kNameIdStorage[] = u"__nameid_version1.0";
inline constexpr char16_t kRecipientStoragePrefix[] = u"__recip";
inline constexpr char16_t kAttachmentStoragePrefix[] = u"__attach";

// Sizes of the property stream.
constexpr std::size_t kPropertyEntryBytes = 16;
constexpr std::size_t kPropertyValueOffset = 8;
constexpr std::size_t kSubStorageHeaderBytes = 8;

}  // namespace tessivo::msg
