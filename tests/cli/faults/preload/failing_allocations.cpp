// A library to be loaded before a program (LD_PRELOAD): one of the program's requests for memory is
// refused, all others are served, whichever library makes them.
//
// IMPORTKCD_FAILING_ALLOCATION  the number of the request that fails, counted from 1 at the
// beginning
//                               of main(), before which nobody could catch it; 0: none
// IMPORTKCD_ALLOCATIONS_FILE    a file that takes, at the program's end, how many requests there
// were

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

extern "C" {

using Main = int (*)(int, char**, char**);

// What the C library serves requests with.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
}

namespace {

std::atomic<long> requests{0};
std::atomic<long> failing{0};
Main main_of_program = nullptr;

bool is_refused() {
  const bool refused = ++requests == failing;
  if (refused) {
    errno = ENOMEM;
  }
  return refused;
}

void tell_requests() {
  const long counted = requests;
  const char* const path = std::getenv("IMPORTKCD_ALLOCATIONS_FILE");
  std::FILE* const file = path == nullptr ? nullptr : std::fopen(path, "w");
  if (file != nullptr) {
    std::fprintf(file, "%ld\n", counted);
    std::fclose(file);
  }
}

int counted_main(int argument_count, char** arguments, char** environment) {
  const char* const number = std::getenv("IMPORTKCD_FAILING_ALLOCATION");
  std::atexit(tell_requests);
  requests = 0;
  failing = number == nullptr ? 0 : std::atol(number);
  return main_of_program(argument_count, arguments, environment);
}

}  // namespace

extern "C" {

void* malloc(std::size_t size) noexcept { return is_refused() ? nullptr : __libc_malloc(size); }

void* calloc(std::size_t count, std::size_t size) noexcept {
  return is_refused() ? nullptr : __libc_calloc(count, size);
}

void* realloc(void* memory, std::size_t size) noexcept {
  return is_refused() ? nullptr : __libc_realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  return is_refused() ? nullptr : __libc_memalign(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size) noexcept {
  *memory = aligned_alloc(alignment, size);
  return *memory == nullptr ? ENOMEM : 0;
}

int __libc_start_main(Main program, int argument_count, char** arguments, void (*begin)(),
                      void (*end)(), void (*loader_end)(), void* stack_end) {
  using Start = decltype(&__libc_start_main);
  main_of_program = program;
  const auto start = reinterpret_cast<Start>(dlsym(RTLD_NEXT, "__libc_start_main"));
  return start(counted_main, argument_count, arguments, begin, end, loader_end, stack_end);
}
}
