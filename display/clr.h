// Colours of the display: red, green, blue and alpha as floats 0..1.
//
// ClrF is a plain value (no OpenGL here), so the scene settings can be
// defined and tested without a rendering context. arF() hands the four
// components to OpenGL calls that take a float[4] (glMaterialfv,
// glLightfv); the pointer lives as long as the colour.
#pragma once

struct ClrF {
    float fR = 0.0f;
    float fG = 0.0f;
    float fB = 0.0f;
    float fA = 1.0f;

    constexpr ClrF() = default;
    constexpr ClrF(float r, float g, float b, float a = 1.0f) : fR(r), fG(g), fB(b), fA(a) {}

    const float* arF() const { return &fR; }

    // The byte (0..255) that a frame buffer of 8 bits per channel stores for
    // a component: rounded to nearest, clamped.
    static constexpr unsigned char bFmF(float f) {
        if (f <= 0.0f) return 0;
        if (f >= 1.0f) return 255;
        return static_cast<unsigned char>(f * 255.0f + 0.5f);
    }
};

static_assert(sizeof(ClrF) == 4 * sizeof(float), "ClrF must be four packed floats");
