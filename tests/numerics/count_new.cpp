// Counts every allocation of the test program through a replaced operator
// new (only the difference across a stretch of code is looked at). The
// address sanitizer keeps its own operator new and delete, which it checks
// pair up, so there nothing is counted.
#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> nNewCalls{0};
}  // namespace

#if defined(__SANITIZE_ADDRESS__)
long nNewCallsSoFar() { return -1; }
#else
long nNewCallsSoFar() { return nNewCalls.load(); }

void* operator new(std::size_t nBytes) {
    nNewCalls.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(nBytes == 0 ? 1 : nBytes)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
#endif
