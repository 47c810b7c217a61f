// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <vector>

#include <obs.hpp>

namespace quillbay {

// What the host tells about its scenes. User-interface thread only.

/// The scenes of the host's current collection, in the host's order.
std::vector<OBSSource> collectionScenes();
/// The scene that the user works on: in studio mode the preview's, else the one on air. Null when there is none.
OBSSourceAutoRelease shownScene();
/// Whether viewers see the scene, or will with the next transition of studio mode.
bool isOnAir(const obs_source_t *scene);

} // namespace quillbay
