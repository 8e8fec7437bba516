#include "platform/ipc/ref_base.h"

namespace ZYNE {

void RefCounter::IncWeak() {
    weak_.fetch_add(1, std::memory_order_relaxed);
}

void RefCounter::DecWeak() {
    if (weak_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        delete this;
    }
}

void RefCounter::IncStrong() {
    if (strong_.fetch_add(1, std::memory_order_relaxed) == 0) {
        object_->OnFirstStrongRef(object_);
    }
}

void RefCounter::DecStrong() {
    if (strong_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        object_->OnLastStrongRef(object_);
        delete object_;
    }
}

bool RefCounter::AttemptIncStrong() {
    int32_t count = strong_.load(std::memory_order_relaxed);
    while (count > 0) {
        if (strong_.compare_exchange_weak(count, count + 1, std::memory_order_acquire, std::memory_order_relaxed)) {
            if (object_->OnAttemptPromoted(object_)) {
                return true;
            }
            DecStrong();
            return false;
        }
    }
    return false;
}

int32_t RefCounter::GetStrong() const {
    return strong_.load(std::memory_order_relaxed);
}

RefBase::RefBase() : counter_(new RefCounter(this)) {}

RefBase::RefBase(const RefBase&) : RefBase() {}

RefBase& RefBase::operator=(const RefBase&) {  // NOLINT(bugprone-unhandled-self-assignment): assigns nothing
    return *this;
}

RefBase::~RefBase() {
    counter_->DecWeak();
}

void RefBase::IncStrongRef(const void*) {
    counter_->IncStrong();
}

void RefBase::DecStrongRef(const void*) {
    counter_->DecStrong();
}

int32_t RefBase::GetSptrRefCount() const {
    return counter_->GetStrong();
}

void RefBase::RefPtrCallback() {}

void RefBase::OnFirstStrongRef(const void*) {}

void RefBase::OnLastStrongRef(const void*) {}

void RefBase::OnLastWeakRef(const void*) {}

bool RefBase::OnAttemptPromoted(const void*) {
    return true;
}

}  // namespace ZYNE
