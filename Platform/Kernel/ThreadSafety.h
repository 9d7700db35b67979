// Annotations for clang's thread-safety analysis; other compilers see nothing.
//
//   CCritSec m_lock;
//   int m_count MK_GUARDED_BY(m_lock) = 0;
//   void AddOne() MK_REQUIRES(m_lock);   // the caller holds it
//   void Add() MK_EXCLUDES(m_lock);      // takes it itself
#pragma once

#if defined(__clang__)
#define MK_THREAD_ANNOTATION(x) __attribute__((x))
#else
#define MK_THREAD_ANNOTATION(x)
#endif

#define MK_CAPABILITY(name) MK_THREAD_ANNOTATION(capability(name))
#define MK_SCOPED_CAPABILITY MK_THREAD_ANNOTATION(scoped_lockable)
#define MK_GUARDED_BY(...) MK_THREAD_ANNOTATION(guarded_by(__VA_ARGS__))
#define MK_REQUIRES(...) MK_THREAD_ANNOTATION(requires_capability(__VA_ARGS__))
#define MK_ACQUIRE(...) MK_THREAD_ANNOTATION(acquire_capability(__VA_ARGS__))
#define MK_RELEASE(...) MK_THREAD_ANNOTATION(release_capability(__VA_ARGS__))
#define MK_TRY_ACQUIRE(...) MK_THREAD_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define MK_EXCLUDES(...) MK_THREAD_ANNOTATION(locks_excluded(__VA_ARGS__))
#define MK_NO_THREAD_SAFETY_ANALYSIS MK_THREAD_ANNOTATION(no_thread_safety_analysis)
