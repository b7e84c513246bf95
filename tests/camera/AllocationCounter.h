#pragma once

/// Counts what the calling thread allocates with `new`, from construction to `Stop`.
class AllocationCounter {
  public:
    AllocationCounter();
    int Stop();
};
