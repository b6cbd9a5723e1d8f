// COrbuUtilSingleton<T>: one T for the process, made on first use and destroyed by the object manager.
//
// - Order: it registers itself when it is made, and entries run newest first (orbuutilObjectManager.h). What
//   is needed by another is made before it.
// - After its destruction the next instance() makes a fresh one. One that is made while the hooks run gets
//   none, and is never destroyed.
// - For the library's own types the one pointer lives in the library (`extern template` beside the type). A
//   host that uses a type of its own in several shared objects does the same in one of them. GCC makes the
//   pointer of a type that a shared object shows a unique symbol, which keeps that object, and with it this
//   library, from being unloaded: hide the type, or compile with -fno-gnu-unique.
// - T needs a default constructor; a T whose constructor is private names this class as friend. The
//   constructor must not ask for its own instance. Threads: none but the one that makes the singletons.
#pragma once

#include "orbuutil/orbuutilObjectManager.h"

template <typename T>
class ORBU_EXPORT COrbuUtilSingleton : public COrbuUtilCleanup {
public:
    // The one T, never null. It stays with the manager.
    static T* instance() {
        if (singleton_ == nullptr) {
            singleton_ = new COrbuUtilSingleton;
            COrbuUtilObjectManager::at_exit(singleton_, nullptr);
        }
        return &singleton_->instance_;
    }

    // Destroys the T. The manager calls it; the pointer of instance() is spent.
    void cleanup(void*) override {
        delete this;
        singleton_ = nullptr;
    }

protected:
    COrbuUtilSingleton() : instance_() {}
    ~COrbuUtilSingleton() override = default;

private:
    T instance_;

    static COrbuUtilSingleton* singleton_;
};

template <typename T>
constinit COrbuUtilSingleton<T>* COrbuUtilSingleton<T>::singleton_ = nullptr;
