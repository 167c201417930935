#pragma once
// The one palette of Velmora's art: dusk in a walled old-town courtyard, in the rain.
// Every generator takes its colours from here; docs/assets.md lists the same table.
#include "image.h"

namespace pal {
// Sandy dusk fog of the level (the two fog colours of the scene).
inline Col FogSand() { return Rgb(140, 128, 102); }   // (0.55, 0.50, 0.40)
inline Col FogLight() { return Rgb(166, 153, 102); }  // (0.65, 0.60, 0.40)
// Sky at dusk, from the zenith down to the fog at the horizon.
inline Col SkyZenith() { return Rgb(46, 50, 72); }
inline Col SkyMid() { return Rgb(104, 94, 88); }
// Wet cobbles and their mortar.
inline Col CobbleDark() { return Rgb(66, 62, 56); }
inline Col CobbleLight() { return Rgb(118, 108, 92); }
inline Col Mortar() { return Rgb(40, 37, 33); }
// Plaster walls and roof tiles.
inline Col Plaster() { return Rgb(178, 160, 128); }
inline Col PlasterShade() { return Rgb(128, 112, 88); }
inline Col RoofTile() { return Rgb(120, 62, 44); }
// Dark wooden doors, iron fittings, the metal wall switch.
inline Col WoodDark() { return Rgb(62, 40, 26); }
inline Col WoodLight() { return Rgb(98, 66, 42); }
inline Col Iron() { return Rgb(46, 46, 50); }
inline Col Metal() { return Rgb(132, 136, 140); }
inline Col MetalDark() { return Rgb(70, 72, 78); }
inline Col LampOn() { return Rgb(96, 220, 96); }
inline Col LampOff() { return Rgb(170, 40, 30); }
// The police patrols in dark blue.
inline Col PoliceBlue() { return Rgb(22, 32, 70); }
inline Col PoliceBlueLight() { return Rgb(44, 60, 112); }
inline Col Badge() { return Rgb(212, 176, 80); }
// The hero: weathered leather coat, grey trousers, skin.
inline Col Leather() { return Rgb(96, 64, 40); }
inline Col Cloth() { return Rgb(84, 84, 80); }
inline Col Skin() { return Rgb(196, 150, 120); }
inline Col Hair() { return Rgb(44, 32, 24); }
// GUI: deep blue panels (the plain panel colour 0, 0, 0.3) with white outlines, amber highlight.
inline Col Panel() { return Rgb(0, 0, 77); }
inline Col PanelLight() { return Rgb(16, 26, 120); }
inline Col Outline() { return Rgb(255, 255, 255); }
inline Col Highlight() { return Rgb(255, 196, 64); }
inline Col Health() { return Rgb(204, 36, 36); }
inline Col Rain() { return Rgb(206, 214, 226); }
inline Col Black() { return Rgb(0, 0, 0); }
inline Col White() { return Rgb(255, 255, 255); }
}  // namespace pal
