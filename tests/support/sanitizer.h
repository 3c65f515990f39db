#ifndef TANEXICS_TESTS_SUPPORT_SANITIZER_H
#define TANEXICS_TESTS_SUPPORT_SANITIZER_H

// TANEXICS_ADDRESS_SANITIZER is defined where the address sanitizer has taken over the allocator,
// under either compiler: what replaces an allocation itself cannot run there.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TANEXICS_ADDRESS_SANITIZER
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define TANEXICS_ADDRESS_SANITIZER
#endif

#endif
