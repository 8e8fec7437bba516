// Gives a test a library as it is right after it was loaded.
#pragma once

#include <new>

namespace ZYNE::CollaborationFwk {

// No thread may be inside the library.
class LibraryRenewer {
public:
    static void RenewAll();

private:
    // The singletons are static objects: each is built anew in its place.
    template <typename Singleton>
    static void Renew(Singleton& singleton) {
        singleton.~Singleton();
        new (&singleton) Singleton();
    }
};

}  // namespace ZYNE::CollaborationFwk
