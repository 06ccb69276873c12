#pragma once

namespace ruvola {

/// Builds one visitor for std::visit out of several lambdas.
template <typename... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};

template <typename... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

} // namespace ruvola
