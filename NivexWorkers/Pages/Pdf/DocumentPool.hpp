#pragma once

#include <filesystem>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace nivex::pages {

/// The same file opened several times, as often as threads read it at once: libraries let one thread at a time read a
/// document. Any thread.
///
/// Document  made of a path
template <class Document>
class DocumentPool {
public:
    /// Opens the file once; throws what Document throws.
    explicit DocumentPool(std::filesystem::path file) : file_{std::move(file)}
    {
        idle_.push_back(std::make_unique<Document>(file_));
    }

    /// A document that nobody else uses meanwhile. The pool outlives it.
    class Lease {
    public:
        Lease(DocumentPool& owner, std::unique_ptr<Document> document) : owner_{owner}, document_{std::move(document)}
        {
        }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;
        ~Lease()
        {
            const std::lock_guard lock{owner_.mutex_};
            owner_.idle_.push_back(std::move(document_));
        }

        const Document& operator*() const { return *document_; }
        const Document* operator->() const { return document_.get(); }

    private:
        DocumentPool& owner_;
        std::unique_ptr<Document> document_;
    };

    Lease lease()
    {
        {
            const std::lock_guard lock{mutex_};
            if (!idle_.empty()) {
                std::unique_ptr<Document> document = std::move(idle_.back());
                idle_.pop_back();
                return {*this, std::move(document)};
            }
        }
        return {*this, std::make_unique<Document>(file_)};
    }

private:
    std::filesystem::path file_;
    std::mutex mutex_; // guards what follows
    std::vector<std::unique_ptr<Document>> idle_;
};

} // namespace nivex::pages
