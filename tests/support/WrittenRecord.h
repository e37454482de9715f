// An extension record that its handler has written.

#ifndef TESTS_SUPPORT_WRITTENRECORD_H
#define TESTS_SUPPORT_WRITTENRECORD_H

#include <initializer_list>
#include <string>

#include "core/ByteOrder.h"
#include "systemfile/SaveDS.h"
#include "systemfile/SystemFileExtensionRecord.h"

struct WrittenRecord {
  // Runs the handlers of the subtypes in the given order and keeps the record of the last one.
  WrittenRecord(const QUAV_DataSource& source, std::initializer_list<int> subtypes) : saved(&source, file, options) {
    for (const int subtype : subtypes) {
      record = SystemFileExtensionRecord();
      SystemFileExtensionHandler::Write(subtype, saved, record);
    }
  }
  std::string Contents() const { return {AsText(record.Contents()), static_cast<std::size_t>(record.Size())}; }

  QUAV_FileStream file;
  SystemFileOptions options;
  SystemFileDataSource::SaveDS saved;  // the writer's dictionary after the handlers have run
  SystemFileExtensionRecord record;
};

#endif
