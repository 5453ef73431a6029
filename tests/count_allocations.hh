// Counts every allocation of the process while asked to: the program that
// links count_allocations.cc replaces operator new, so what the library,
// the card and the test itself allocate all comes through it.
#ifndef VORN_TESTS_COUNT_ALLOCATIONS_HH
#define VORN_TESTS_COUNT_ALLOCATIONS_HH

namespace vorn_test {

void start_counting_allocations();
// The allocations since the start.
unsigned long stop_counting_allocations();

// The allocations `run` makes.
template <class Run>
unsigned long allocations_of(Run run)
{
    start_counting_allocations();
    run();
    return stop_counting_allocations();
}

}  // namespace vorn_test

#endif
