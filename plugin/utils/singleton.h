// The one object of a class that has only one.
//
//     class Counter {
//         friend class Singleton<Counter>;  // constructor and destructor are private
//         ...
//     };
//     Counter& Counter::GetInstance() { return Singleton<Counter>::Get(); }
#pragma once

#include <new>

namespace ZYNE::CollaborationFwk {

template <typename T>
class Singleton {
public:
    Singleton() = delete;

    // Built at the first call, destroyed when the library is unloaded. Any thread.
    static T& Get() {
        static T instance;
        return instance;
    }

private:
    friend class LibraryRenewer;  // tests start each case with a fresh library

    static void Renew() {
        T& instance = Get();
        instance.~T();
        new (&instance) T();
    }
};

}  // namespace ZYNE::CollaborationFwk
