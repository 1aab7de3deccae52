#include "conduit/QRLMediaDocumentWriterService.h"

#include "platform/base/Exception.h"
#include "records/QRLRecordClasses.h"

namespace qrl {

using archive::Value;

namespace {

std::vector<std::string> stringsOf(const Value& value, std::string_view what) {
  const Value::Array* array = value.array();
  if (array == nullptr)
    throw Exception::parse(std::string(what) + " must be an array of strings");
  std::vector<std::string> strings;
  for (const auto& item : *array) {
    if (!item.string())
      throw Exception::parse(std::string(what) + " must hold only strings");
    strings.push_back(*item.string());
  }
  return strings;
}

const Value::Array& arrayOf(const Value& value, std::string_view what) {
  if (const Value::Array* array = value.array())
    return *array;
  throw Exception::parse(std::string(what) + " must be an array");
}

}  // namespace

QRLMediaDocumentWriterService::QRLMediaDocumentWriterService() {
  addPerformer(
      "saveFinalCut7XmlToPaths:forTimecodeDetailsData:ignoreTimecode:", [this](const Arguments& a) {
        std::vector<archive::Data> blobs;
        for (const auto& item : arrayOf(a[1], "timecode details data")) {
          if (!item.data())
            throw Exception::parse("timecode details must be data");
          blobs.push_back(*item.data());
        }
        return Value(
            writer_.saveFinalCut7XmlToPaths(stringsOf(a[0], "paths"), blobs, *a[2].boolean()));
      });
  addPerformer("saveFinalCut7XmlToPaths:forTimecodeDetailsInGroup:ignoreTimecode:",
               [this](const Arguments& a) {
                 std::vector<QRLTimecodeDetailsWrapper> records;
                 for (const auto& item : arrayOf(a[1], "timecode details")) {
                   if (const auto* data = item.data()) {
                     auto record = unarchiveRecord<QRLTimecodeDetailsWrapper>(*data);
                     if (!record)
                       throw Exception::parse("a timecode details archive is unreadable");
                     records.push_back(*record);
                   } else if (item.dictionary()) {
                     records.push_back(QRLTimecodeDetailsWrapper::wrapperFromDictionary(item));
                   } else {
                     throw Exception::parse("timecode details must be archives or dictionaries");
                   }
                 }
                 return Value(writer_.saveFinalCut7XmlToPaths(stringsOf(a[0], "paths"), records,
                                                              *a[2].boolean()));
               });
}

}  // namespace qrl
