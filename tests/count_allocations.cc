// The process's operator new, counting while asked to.
#include "count_allocations.hh"

#include <cstdlib>
#include <new>

namespace {
bool counting = false;
unsigned long allocations = 0;
}  // namespace

void* operator new(std::size_t size)
{
    if (counting) ++allocations;
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace vorn_test {

void start_counting_allocations()
{
    allocations = 0;
    counting = true;
}

unsigned long stop_counting_allocations()
{
    counting = false;
    return allocations;
}

}  // namespace vorn_test
