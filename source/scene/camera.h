#pragma once
// Camera: the view of a scene. Holds the look angles and rotation the free-flight mode
// drives, the eye, target and up vectors given to the view, the field of view, and the
// six frustum planes taken from the GL matrices each frame. The Scene owns its camera as
// a member; the render queue hands a pointer to it to everything that draws after the
// Scene, which uses IsBoxVisible to skip what cannot be seen.
//
// The planes are (a, b, c, d) with a·x + b·y + c·z + d >= 0 on the inner side, of unit
// normal, in the order right, left, bottom, top, far, near.

#include "math/haxisalignedbox.h"
#include "math/hquaternion.h"
#include "math/hvector3.h"

class Camera {
public:
    enum FrustumPlane {
        FRUSTUM_RIGHT = 0,
        FRUSTUM_LEFT = 1,
        FRUSTUM_BOTTOM = 2,
        FRUSTUM_TOP = 3,
        FRUSTUM_FAR = 4,
        FRUSTUM_NEAR = 5,
    };

    float angle_x = 0.0f;  // degrees, pitch about the local x axis
    float angle_y = 0.0f;  // degrees, heading about the world's z axis
    float fov = 90.0f;     // vertical field of view, degrees
    HQuaternion rotation;  // identity until UpdateFromAngles
    HVector3 position{0.0f, 0.0f, 0.0f};
    HVector3 target{0.0f, 200.0f, 0.0f};
    HVector3 up{0.0f, 0.0f, 1.0f};
    float frustum[6][4] = {};

    // Reads GL_PROJECTION_MATRIX and GL_MODELVIEW_MATRIX of the current context and
    // builds the planes from them. Needs a current GL context.
    void ExtractFrustum();
    // The same from two matrices as GL stores them (16 floats, column after column).
    void ExtractFrustum(const float projection[16], const float modelview[16]);
    // The planes of clip = modelview·projection (flat arrays), each divided by the length
    // of its (a, b, c); a plane with a zero normal is left as it is.
    static void ComputeFrustumPlanes(const float projection[16], const float modelview[16],
                                     float planes[6][4]);

    // Conservative: true when the eye is inside the box (bounds included) or when no
    // plane has all eight corners at or below zero. A box beyond a frustum corner
    // passes. A null box is empty and never visible.
    bool IsBoxVisible(const HAxisAlignedBox& box) const;

    // rotation = (angle_y degrees about (0, 0, 1)) · (angle_x degrees about (1, 0, 0));
    // target = position − the rotation's z axis, up = its y axis.
    void UpdateFromAngles();
    // Moves the eye along the rotation's local axes: +x right, +y up, +z back.
    void MoveLocal(float fRight, float fUp, float fBack);

    // Projection gluPerspective(fov, aspect, near, far) and model-view
    // gluLookAt(position, target, up); leaves the model-view matrix current.
    // The game always uses an aspect of 1.33 whatever the window's shape.
    void SetupView(double aspect = 1.33, double zNear = 1.0, double zFar = 5000.0) const;
};
