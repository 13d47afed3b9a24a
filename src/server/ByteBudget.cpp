#include "server/ByteBudget.h"

#include <algorithm>

namespace quorel {

ByteBudget::Share::Share(ByteBudget& from, std::size_t wanted) : budget(from), bytes(std::min(wanted, from.full)) {
  std::unique_lock hold(budget.mutex);
  const std::uint64_t ticket = budget.nextTicket++;
  budget.changed.wait(hold, [&] { return ticket == budget.serving && budget.left >= bytes; });
  budget.left -= bytes;
  ++budget.serving;
  budget.changed.notify_all();
}

ByteBudget::Share::~Share() {
  const std::lock_guard hold(budget.mutex);
  budget.left += bytes;
  budget.changed.notify_all();
}

}  // namespace quorel
