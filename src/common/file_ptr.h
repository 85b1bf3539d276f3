// An owning FILE* that closes its stream when it goes out of scope.
#pragma once

#include <cstdio>
#include <memory>

struct FileCloser {
    void operator()(FILE* f) const noexcept { std::fclose(f); }
};

using FilePtr = std::unique_ptr<FILE, FileCloser>;
