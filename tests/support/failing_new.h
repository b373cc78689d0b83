// Lets an allocation of this test program fail, wherever it is made.
#pragma once

// The n-th operator new from here on throws std::bad_alloc, 1 for the next one; 0 for none.
void FailAllocation(int n);

// Whether the failure asked for last has come about.
bool AllocationFailed();
