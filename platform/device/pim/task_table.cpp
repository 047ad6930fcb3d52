#include "platform/device/pim/task_table.h"

namespace device {
namespace {

constexpr PimProperty kProperties[] = {
#define PROPERTY(name, column, kind, access) {#name, column, PimPropertyKind::k##kind},
#include "platform/device/pim/task_properties.inc"
};

}  // namespace

const PimTable* TaskTable() {
  static constexpr PimTable kTable = {"pim_tasks", kProperties};
  return &kTable;
}

}  // namespace device
