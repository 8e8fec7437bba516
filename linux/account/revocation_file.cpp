#include "linux/account/revocation_file.h"

#include <stdexcept>
#include <utility>

#include "linux/account/device_files.h"
#include "linux/account/files.h"
#include "linux/account/replacement.h"

namespace ZYNE::Linux {

namespace fs = std::filesystem;

RevocationFile::RevocationFile(fs::path file, std::string authorityPem, const fs::path& credentials)
    : file_(std::move(file)), authority_(std::move(authorityPem)), state_(std::make_shared<const State>()) {
    UseFile(file_, [this](const std::string& document) { Adopt(document); });
    UseFile(credentials / CredentialFiles::REVOKED, [this](const std::string& document) { Take(document); });
}

void RevocationFile::UseFile(const fs::path& file, const std::function<void(const std::string&)>& use) {
    try {
        if (fs::exists(file)) {
            OfFile(file, ReadSmallFile(file), use);
        }
    } catch (const std::runtime_error& error) {
        SetProblem(error.what());
    }
}

bool RevocationFile::Adopt(const std::string& document) {
    auto state = std::make_shared<const State>(State{ReadRevocations(document, authority_), document});
    const MutexLock lock(mutex_);
    if (state->list.number <= state_->list.number) {
        return false;
    }
    state_ = std::move(state);
    return true;
}

bool RevocationFile::Take(const std::string& document) {
    const MutexLock lock(storing_);
    if (!Adopt(document)) {
        return false;
    }
    Store(document);
    return true;
}

void RevocationFile::Store(const std::string& document) {
    try {
        ReplaceFiles(file_.parent_path(), {{file_.filename(), document, false}});
    } catch (const std::runtime_error& error) {
        SetProblem(error.what());
    }
}

std::shared_ptr<const RevocationFile::State> RevocationFile::Now() const {
    const MutexLock lock(mutex_);
    return state_;
}

std::shared_ptr<const Revocations> RevocationFile::Current() const {
    const std::shared_ptr<const State> state = Now();
    return {state, &state->list};
}

std::string RevocationFile::Document() const {
    return Now()->document;
}

std::string RevocationFile::Problem() const {
    const MutexLock lock(mutex_);
    return problem_;
}

void RevocationFile::SetProblem(const std::string& problem) {
    const MutexLock lock(mutex_);
    problem_ = problem;
}

}  // namespace ZYNE::Linux
