// The mark of what the library exports. The library is built with hidden
// visibility, so a class, function or variable a host may use carries
// QUARN_EXPORT at its declaration; everything else stays inside the
// shared object. An exported class exports all its members; its private
// member functions carry QUARN_HIDDEN, since no host can call them (no
// inline code in a public header may call one either).

#ifndef QUARN_BASE_EXPORT_H_
#define QUARN_BASE_EXPORT_H_

#if defined(__GNUC__) || defined(__clang__)
#define QUARN_EXPORT __attribute__((visibility("default")))
#define QUARN_HIDDEN __attribute__((visibility("hidden")))
#else
#define QUARN_EXPORT
#define QUARN_HIDDEN
#endif

#endif  // QUARN_BASE_EXPORT_H_
