#include "platform/device/pim/appointment_table.h"

namespace device {
namespace {

constexpr PimProperty kProperties[] = {
#define PROPERTY(name, column, kind, access) {#name, column, PimPropertyKind::k##kind},
#include "platform/device/pim/appointment_properties.inc"
};

}  // namespace

const PimTable* AppointmentTable() {
  static constexpr PimTable kTable = {"pim_appointments", kProperties};
  return &kTable;
}

}  // namespace device
