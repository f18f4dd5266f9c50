#pragma once

#include <filesystem>

namespace simulacion
{

/// A folder with a small office: two notaries with empty tables, short day sheets, two clerks. In memory
/// where the system has such a place. The caller removes it.
[[nodiscard]] std::filesystem::path HazOficina();

} // namespace simulacion
