#pragma once

namespace nivex::image {

/// For std::unique_ptr to what a library of C allocates: calls the function that releases it.
template <auto release>
struct Release {
    template <class Object>
    void operator()(Object* object) const
    {
        release(object);
    }
};

} // namespace nivex::image
