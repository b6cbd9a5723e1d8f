// Tests of the locks that are named semaphores.
#pragma once

#include <semaphore.h>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

// The semaphore's value, -1 when there is none: 1 free, 0 held.
inline int semaphoreValue(std::string const& name) {
    int result = -1;
    if (sem_t* semaphore = ::sem_open(name.c_str(), 0); semaphore != SEM_FAILED) {
        ::sem_getvalue(semaphore, &result);
        ::sem_close(semaphore);
    }
    return result;
}

// A name for each process, which a mutex does not cut; removed after each test.
class SemaphoreTest : public ::testing::Test {
protected:
    ~SemaphoreTest() override { ::sem_unlink(name.c_str()); }

    int value() const { return semaphoreValue(name); }

    std::string const name = "/orbutest" + std::to_string(::getpid());
};
