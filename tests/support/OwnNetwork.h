#pragma once

namespace Zevrin {

/// Gives the process and its children a network that has nothing but the loopback interface. Where the system
/// refuses that, waits instead until no other process of these tests uses the common one.
void TakeNetwork();

/// In the network of the calling thread. False when the system refuses it.
bool BringUpLoopback();

}  // namespace Zevrin
