#include "platform/device/pim/contact_table.h"

namespace device {
namespace {

constexpr PimProperty kProperties[] = {
#define PROPERTY(name, column, kind, access) {#name, column, PimPropertyKind::k##kind},
#include "platform/device/pim/contact_properties.inc"
};

constexpr std::string_view kNameColumns[] = {"last_name", "first_name", "middle_name", "title",
                                             "suffix"};

}  // namespace

const PimTable* ContactTable() {
  static constexpr PimTable kTable = {"pim_contacts", kProperties, kNameColumns};
  return &kTable;
}

}  // namespace device
