#include "math/haxisalignedbox.h"

void HAxisAlignedBox::UpdateCorners() {
    const HVector3& lo = mMinimum;
    const HVector3& hi = mMaximum;
    mCorners[0] = HVector3(lo.x, lo.y, lo.z);
    mCorners[1] = HVector3(lo.x, hi.y, lo.z);
    mCorners[2] = HVector3(hi.x, hi.y, lo.z);
    mCorners[3] = HVector3(hi.x, lo.y, lo.z);
    mCorners[4] = HVector3(hi.x, hi.y, hi.z);
    mCorners[5] = HVector3(lo.x, hi.y, hi.z);
    mCorners[6] = HVector3(lo.x, lo.y, hi.z);
    mCorners[7] = HVector3(hi.x, lo.y, hi.z);
}

void HAxisAlignedBox::Merge(const HAxisAlignedBox& rhs) {
    if (rhs.mNull) return;
    if (mNull) {
        SetExtents(rhs.mMinimum, rhs.mMaximum);
        return;
    }
    HVector3 min = mMinimum;
    HVector3 max = mMaximum;
    min.MakeFloor(rhs.mMinimum);
    max.MakeCeil(rhs.mMaximum);
    SetExtents(min, max);
}

void HAxisAlignedBox::Merge(const HVector3& point) {
    if (mNull) {
        SetExtents(point, point);
        return;
    }
    HVector3 min = mMinimum;
    HVector3 max = mMaximum;
    min.MakeFloor(point);
    max.MakeCeil(point);
    SetExtents(min, max);
}

void HAxisAlignedBox::Transform(const HMatrix4& matrix) {
    if (mNull) return;
    HVector3 corners[8];
    for (int i = 0; i < 8; ++i) corners[i] = mCorners[i];
    HVector3 min = matrix * corners[0];
    HVector3 max = min;
    for (int i = 1; i < 8; ++i) {
        HVector3 v = matrix * corners[i];
        min.MakeFloor(v);
        max.MakeCeil(v);
    }
    SetExtents(min, max);
}

bool HAxisAlignedBox::Intersects(const HAxisAlignedBox& b) const {
    if (mNull || b.mNull) return false;
    if (mMaximum.x < b.mMinimum.x || mMinimum.x > b.mMaximum.x) return false;
    if (mMaximum.y < b.mMinimum.y || mMinimum.y > b.mMaximum.y) return false;
    if (mMaximum.z < b.mMinimum.z || mMinimum.z > b.mMaximum.z) return false;
    return true;
}

bool HAxisAlignedBox::Contains(const HVector3& v) const {
    if (mNull) return false;
    return mMinimum.x <= v.x && v.x <= mMaximum.x && mMinimum.y <= v.y && v.y <= mMaximum.y &&
           mMinimum.z <= v.z && v.z <= mMaximum.z;
}
