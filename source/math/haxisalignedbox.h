#pragma once
// HAxisAlignedBox: a box between two extremes, with its eight corners cached. Every
// change of an extreme recomputes the corners. A null box is empty: its extents are
// kept but mean nothing.
//
// Corner order (min/max per axis):
//   0 (min,min,min) 1 (min,max,min) 2 (max,max,min) 3 (max,min,min)
//   4 (max,max,max) 5 (min,max,max) 6 (min,min,max) 7 (max,min,max)

#include <cassert>

#include "math/hmatrix4.h"
#include "math/hvector3.h"

class HAxisAlignedBox {
public:
    HVector3 mMinimum{-0.5f, -0.5f, -0.5f};
    HVector3 mMaximum{0.5f, 0.5f, 0.5f};
    bool mNull = true;
    HVector3 mCorners[8];

    // Null, with extents (-0.5, -0.5, -0.5) to (0.5, 0.5, 0.5).
    HAxisAlignedBox() { UpdateCorners(); }
    HAxisAlignedBox(const HVector3& min, const HVector3& max) { SetExtents(min, max); }
    HAxisAlignedBox(float mx, float my, float mz, float Mx, float My, float Mz) {
        SetExtents(HVector3(mx, my, mz), HVector3(Mx, My, Mz));
    }

    const HVector3& GetMinimum() const { return mMinimum; }
    const HVector3& GetMaximum() const { return mMaximum; }

    void SetMinimum(const HVector3& v) {
        mNull = false;
        mMinimum = v;
        UpdateCorners();
    }
    void SetMinimum(float x, float y, float z) { SetMinimum(HVector3(x, y, z)); }
    void SetMaximum(const HVector3& v) {
        mNull = false;
        mMaximum = v;
        UpdateCorners();
    }
    void SetMaximum(float x, float y, float z) { SetMaximum(HVector3(x, y, z)); }
    void SetExtents(const HVector3& min, const HVector3& max) {
        mNull = false;
        mMinimum = min;
        mMaximum = max;
        UpdateCorners();
    }

    const HVector3* GetAllCorners() const {
        assert(!mNull && "Can't get corners of a null AAB");
        return mCorners;
    }

    bool IsNull() const { return mNull; }
    void SetNull() { mNull = true; }

    HVector3 GetCenter() const { return (mMinimum + mMaximum) * 0.5f; }
    HVector3 GetSize() const { return mMaximum - mMinimum; }

    // A null argument changes nothing; into a null box the argument's extents are copied.
    void Merge(const HAxisAlignedBox& rhs);
    // Into a null box: a box of zero size at the point.
    void Merge(const HVector3& point);
    // The box around the eight transformed corners. A null box stays null.
    void Transform(const HMatrix4& matrix);

    // Overlap, bounds included; false when either is null.
    bool Intersects(const HAxisAlignedBox& b) const;
    // Point inside, bounds included; false for a null box.
    bool Contains(const HVector3& v) const;

private:
    void UpdateCorners();
};
