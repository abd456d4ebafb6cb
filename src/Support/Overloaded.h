#pragma once

/// Makes one visitor of several lambdas, for std::visit.
template <typename... Functions> struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <typename... Functions> Overloaded(Functions...) -> Overloaded<Functions...>;
