#include "rmglib/catalogue.h"

namespace {

/// The announcement of one kind of row; kind 0 closes their list.
struct Heading {
  int kind;
  const char* text;
};

// Defines kRows and kHeadings, both with their closing entry, from catalogue.txt.
#include "rmglib/catalogue_rows.inc"

}  // namespace

const EXTERR* catalogueRows() { return kRows; }

bool isClosingRow(const EXTERR& row) { return row.rc == kClosingCode && row.code == kClosingCode; }

const char* catalogueHeading(int kind) {
  const Heading* heading = kHeadings;
  while (heading->kind != 0 && heading->kind != kind) ++heading;
  return heading->text;
}
