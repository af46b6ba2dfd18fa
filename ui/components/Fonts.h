#pragma once

#include <QString>

namespace kelpay {

/// Registers the bundle's font file `name`, without its ending. Needs a GUI application; main queue.
void loadFont(const QString &name);

/// Registers all faces that the screens ask for, under the names by which they do.
void loadFonts();

} // namespace kelpay
