// The numbers of the messages in kDatasrcCatalog that the code names.

#ifndef PLATFORM_MESSAGES_MESSAGENUMBERS_H
#define PLATFORM_MESSAGES_MESSAGENUMBERS_H

inline constexpr int kCannotOpen = 1201;
inline constexpr int kRowNotWritten = 1202;
inline constexpr int kMalformed = 1204;
inline constexpr int kUnexpectedEnd = 1205;
inline constexpr int kUnknownCompression = 1206;
inline constexpr int kWrongState = 1209;
inline constexpr int kOtherByteOrder = 1210;
inline constexpr int kWrongPassword = 1213;
inline constexpr int kEncrypted = 1214;
inline constexpr int kNoMemoryForKey = 1215;
inline constexpr int kNoShortName = 1504;
inline constexpr int kDuplicateName = 1505;
inline constexpr int kNameNotHeld = 1506;
inline constexpr int kNoSuchName = 1507;
inline constexpr int kAttributeNotHeld = 1508;
inline constexpr int kSetNotHeld = 1509;
inline constexpr int kNulNotHeld = 1510;
inline constexpr int kLostToUtf8 = 1701;
inline constexpr int kLostToCodePage = 1711;
inline constexpr int kLostOnSaving = 1712;
inline constexpr int kForeignEncoding = 1721;
inline constexpr int kNamesRepaired = 1722;

#endif
