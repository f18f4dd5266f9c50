#pragma once

#include <QtCore/QString>

#include <functional>
#include <vector>

class TCapturas;

/// The steps that print the day and the week on the agenda window in front: a picture of each preview, the
/// sheet as PDF, and a picture of each of its pages.
/// @param capturas  not owned; outlives the steps.
[[nodiscard]] std::vector<std::function<void()>> PasosDeInformes(TCapturas &capturas, const QString &carpeta);
/// The same for the window of the single-table agenda.
[[nodiscard]] std::vector<std::function<void()>> PasosDeInformesUnica(TCapturas &capturas,
                                                                      const QString &carpeta);
