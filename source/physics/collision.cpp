// Polygon tests: a separating-axis test with one velocity axis, the contact search, the
// separation of overlapping bodies and the ray test. Everything works on fixed arrays on
// the stack: no heap in the per-pair path.

#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

#include <emmintrin.h>

#include "math/hmath.h"
#include "physics/physics.h"

PhysicsMatrix PhysicsMatrix::FromDegrees(float degrees) {
    float a = degrees * HMath::fDeg2Rad;
    float c = std::cos(a), s = std::sin(a);
    PhysicsMatrix r;
    r.m[0] = c;
    r.m[1] = -s;
    r.m[2] = s;
    r.m[3] = c;
    return r;
}

const PhysicsMatrix& PhysicsBody::OrientationMatrix() const {
    uint32_t bits;
    std::memcpy(&bits, &orientation, sizeof bits);
    if (!cachedValid || bits != cachedAngleBits) {
        cachedMatrix = PhysicsMatrix::FromDegrees(orientation);
        cachedAngleBits = bits;
        cachedValid = true;
    }
    return cachedMatrix;
}

PhysicsMatrix PhysicsMatrix::TimesTranspose(const PhysicsMatrix& b) const {
    PhysicsMatrix r;
    r.m[0] = m[0] * b.m[0] + m[1] * b.m[1];
    r.m[1] = m[0] * b.m[2] + m[1] * b.m[3];
    r.m[2] = m[2] * b.m[0] + m[3] * b.m[1];
    r.m[3] = m[2] * b.m[2] + m[3] * b.m[3];
    return r;
}

// Each further projection below min replaces min, otherwise one above max replaces max.
// Since min never exceeds max, both tests may run on every projection (so the compiler can
// use min and max instructions instead of branches) with the same results, NaN included.
static inline void IntervalOf(const HVector2* vertices, int count, const HVector2& axis, float& min,
                              float& max) {
    if (count <= 0) {
        min = max = 0.0f;
        return;
    }
    float mn = PhysicsDot(vertices[0], axis);
    float mx = mn;
    for (int i = 1; i < count; i++) {
        float d = PhysicsDot(vertices[i], axis);
        mn = d < mn ? d : mn;
        mx = d > mx ? d : mx;
    }
    min = mn;
    max = mx;
}

void GetInterval(const HVector2* vertices, int count, const HVector2& axis, float& min,
                 float& max) {
    IntervalOf(vertices, count, axis, min, max);
}

// The part of the axis test that follows the two intervals.
static inline bool IntervalDecide(float min0, float max0, float min1, float max1,
                                  const HVector2& axis, const HVector2& xOffset,
                                  const HVector2& xVel, float& taxis, float tmax) {
    float h = PhysicsDot(xOffset, axis);
    min0 += h;
    max0 += h;
    float d0 = min0 - max1;
    float d1 = min1 - max0;
    if (!(d0 > 0.0f) && !(d1 > 0.0f)) {
        taxis = d0 > d1 ? d0 : d1;
        return true;
    }
    float v = PhysicsDot(xVel, axis);
    if (std::fabs(v) < 1e-7f) return false;
    float t0 = -d0 / v;
    float t1 = d1 / v;
    if (t1 < t0) {
        float s = t0;
        t0 = t1;
        t1 = s;
    }
    taxis = t0 > 0.0f ? t0 : t1;
    return taxis >= 0.0f && taxis <= tmax;
}

bool IntervalIntersect(const HVector2* A, int countA, const HVector2* B, int countB,
                       const HVector2& axis, const HVector2& xOffset, const HVector2& xVel,
                       const PhysicsMatrix& xOrient, float& taxis, float tmax) {
    float min0, max0, min1, max1;
    IntervalOf(A, countA, xOrient.MulT(axis), min0, max0);
    IntervalOf(B, countB, axis, min1, max1);
    return IntervalDecide(min0, max0, min1, max1, axis, xOffset, xVel, taxis, tmax);
}

// The intervals of one polygon on four axes at once (axes as x and y arrays). Each lane
// takes the same x·ax + y·ay as IntervalOf and min/max with the same comparisons
// (minps(d, m) is d < m ? d : m), so the intervals are the same to the bit.
static inline void IntervalsOf4(const HVector2* V, int count, __m128 AX, __m128 AY, float* mn,
                                float* mx) {
    __m128 lo =
        _mm_add_ps(_mm_mul_ps(_mm_set1_ps(V[0].x), AX), _mm_mul_ps(_mm_set1_ps(V[0].y), AY));
    __m128 hi = lo;
    for (int k = 1; k < count; k++) {
        const __m128 d =
            _mm_add_ps(_mm_mul_ps(_mm_set1_ps(V[k].x), AX), _mm_mul_ps(_mm_set1_ps(V[k].y), AY));
        lo = _mm_min_ps(d, lo);
        hi = _mm_max_ps(d, hi);
    }
    _mm_storeu_ps(mn, lo);
    _mm_storeu_ps(mx, hi);
}

bool FindMTD(HVector2* xAxis, float* taxis, int iNumAxes, HVector2& N, float& t) {
    int best = -1;
    t = 0.0f;
    for (int i = 0; i < iNumAxes; i++) {
        if (taxis[i] > 0.0f && taxis[i] > t) {
            best = i;
            t = taxis[i];
            N = xAxis[i];
            N.Normalise();
        }
    }
    if (best != -1) return true;

    best = -1;
    // Lengths, reciprocals and scaled overlaps four axes at a time: lane by lane the same
    // square roots and divisions as HVector2::Normalise and the division below.
    float lengths[kPhysicsMaxAxes + 3], inverses[kPhysicsMaxAxes + 3], scaled[kPhysicsMaxAxes + 3];
    for (int g = 0; g < iNumAxes; g += 4) {
        const int i1 = g + 1 < iNumAxes ? g + 1 : g;
        const int i2 = g + 2 < iNumAxes ? g + 2 : g;
        const int i3 = g + 3 < iNumAxes ? g + 3 : g;
        const __m128 X = _mm_setr_ps(xAxis[g].x, xAxis[i1].x, xAxis[i2].x, xAxis[i3].x);
        const __m128 Y = _mm_setr_ps(xAxis[g].y, xAxis[i1].y, xAxis[i2].y, xAxis[i3].y);
        const __m128 T = _mm_setr_ps(taxis[g], taxis[i1], taxis[i2], taxis[i3]);
        const __m128 len = _mm_sqrt_ps(_mm_add_ps(_mm_mul_ps(X, X), _mm_mul_ps(Y, Y)));
        _mm_storeu_ps(lengths + g, len);
        _mm_storeu_ps(inverses + g, _mm_div_ps(_mm_set1_ps(1.0f), len));
        _mm_storeu_ps(scaled + g, _mm_div_ps(T, len));
    }
    for (int i = 0; i < iNumAxes; i++) {
        const float n = lengths[i];
        // An axis too short to normalise (a repeated vertex) says nothing: it is skipped
        // rather than dividing the overlap by a length of zero.
        if (!(n > 1e-6f)) continue;
        xAxis[i].x *= inverses[i];
        xAxis[i].y *= inverses[i];
        taxis[i] = scaled[i];
        if (taxis[i] > t || best == -1) {
            best = i;
            t = taxis[i];
            N = xAxis[i];
        }
    }
    if (best == -1) printf("Error\n");
    return best != -1;
}

bool PhysicsBody::FindCollision(const PhysicsBody& other, HVector2& N, float& t) const {
    const int nA = VertexCount();
    const int nB = other.VertexCount();
    if (nA < 2 && nB < 2) return false;
    // A polygon with no vertices has no interval to project: no collision.
    if (nA == 0 || nB == 0) return false;
    const HVector2* A = vertices.data();
    const HVector2* B = other.vertices.data();

    const PhysicsMatrix OA = OrientationMatrix();
    const PhysicsMatrix OB = other.OrientationMatrix();
    PhysicsMatrix xOrient = OA.TimesTranspose(OB);
    HVector2 xOffset = OB.MulT(position - other.position);
    HVector2 xVel = OB.MulT(velocity - other.velocity);

    // Every axis in order first; the tests then go through them (after the first, four at
    // a time, the intervals of a group at once) and stop at the first axis that separates,
    // as a one-by-one walk would.
    // Raw storage: an array of HVector2 would zero all its entries on every call.
    alignas(HVector2) unsigned char axisStore[sizeof(HVector2) * kPhysicsMaxAxes];
    HVector2* xAxis = reinterpret_cast<HVector2*>(axisStore);
    float taxis[kPhysicsMaxAxes];
    int n = 0;
    const float tmax = t;
    if (PhysicsDot(xVel, xVel) > 1e-5f) xAxis[n++] = PhysicsPerp(xVel);
    if (nA > 1) {
        for (int j = nA - 1, i = 0; i < nA; j = i, i++)
            xAxis[n++] = xOrient.Mul(PhysicsPerp(A[i] - A[j]));
    }
    if (nB > 1) {
        for (int j = nB - 1, i = 0; i < nB; j = i, i++) xAxis[n++] = PhysicsPerp(B[i] - B[j]);
    }
    if (nB == 2) xAxis[n++] = B[1] - B[0];
    if (nA == 2) xAxis[n++] = xOrient.Mul(A[1] - A[0]);

    // The first axis alone: apart bodies are mostly told apart by it.
    if (n > 0 && !IntervalIntersect(A, nA, B, nB, xAxis[0], xOffset, xVel, xOrient, taxis[0], tmax))
        return false;
    for (int g = 1; g < n; g += 4) {
        // Lanes past the last axis repeat it; their results are never read.
        const HVector2& b0 = xAxis[g];
        const HVector2& b1 = xAxis[g + 1 < n ? g + 1 : g];
        const HVector2& b2 = xAxis[g + 2 < n ? g + 2 : g];
        const HVector2& b3 = xAxis[g + 3 < n ? g + 3 : g];
        const HVector2 a0 = xOrient.MulT(b0), a1 = xOrient.MulT(b1);
        const HVector2 a2 = xOrient.MulT(b2), a3 = xOrient.MulT(b3);
        float min0[4], max0[4], min1[4], max1[4];
        IntervalsOf4(A, nA, _mm_setr_ps(a0.x, a1.x, a2.x, a3.x),
                     _mm_setr_ps(a0.y, a1.y, a2.y, a3.y), min0, max0);
        IntervalsOf4(B, nB, _mm_setr_ps(b0.x, b1.x, b2.x, b3.x),
                     _mm_setr_ps(b0.y, b1.y, b2.y, b3.y), min1, max1);
        for (int k = 0; k < 4 && g + k < n; k++) {
            if (!IntervalDecide(min0[k], max0[k], min1[k], max1[k], xAxis[g + k], xOffset, xVel,
                                taxis[g + k], tmax))
                return false;
        }
    }

    if (!FindMTD(xAxis, taxis, n, N, t)) return false;
    if (PhysicsDot(N, xOffset) < 0.0f) N = -N;
    N = OB.Mul(N);
    return true;
}

HVector2 TransformContact(const HVector2& V, const HVector2& P, const HVector2& Vel,
                          const PhysicsMatrix& O, float t) {
    HVector2 r = P + O.Mul(V);
    if (t > 0.0f) r += Vel * t;
    return r;
}

int FindSupportPoints(const HVector2& N, float t, const HVector2* A, int count, const HVector2& PA,
                      const HVector2& VA, const PhysicsMatrix& OA, HVector2* S) {
    if (count > PhysicsBody::kMaxVertices) count = PhysicsBody::kMaxVertices;
    if (count <= 0) return 0;
    HVector2 Norm = OA.MulT(N);
    float d[PhysicsBody::kMaxVertices];
    float dmin = d[0] = PhysicsDot(A[0], Norm);
    for (int i = 1; i < count; i++) {
        d[i] = PhysicsDot(A[i], Norm);
        if (d[i] < dmin) dmin = d[i];
    }
    int Snum = 0;
    const float threshold = 0.001f;
    float s[2] = {0.0f, 0.0f};
    int sign = 0;
    HVector2 Perp = PhysicsPerp(N);
    for (int i = 0; i < count; i++) {
        if (!(d[i] < dmin + threshold)) continue;
        HVector2 Contact = TransformContact(A[i], PA, VA, OA, t);
        float c = PhysicsDot(Contact, Perp);
        if (Snum < 2) {
            s[Snum] = c;
            S[Snum] = Contact;
            Snum++;
            if (Snum > 1) sign = s[0] < s[1] ? 1 : 0;
        } else {
            int lo = sign == 1 ? 0 : 1;
            int hi = 1 - lo;
            if (c < s[lo]) {
                s[lo] = c;
                S[lo] = Contact;
            } else if (c > s[hi]) {
                s[hi] = c;
                S[hi] = Contact;
            }
        }
    }
    return Snum;
}

bool FindClosestPoint(const HVector2& V, const HVector2& A, const HVector2& B, HVector2& out,
                      float* t) {
    HVector2 AV = V - A;
    HVector2 AB = B - A;
    float len2 = PhysicsDot(AB, AB);
    // A segment of no length: its one point is the closest.
    float u = len2 > 0.0f ? PhysicsDot(AV, AB) / len2 : 0.0f;
    if (u < 0.0f) u = 0.0f;
    if (u > 1.0f) u = 1.0f;
    if (t) *t = u;
    out = A + AB * u;
    return true;
}

// The extent of a support set (one point or a segment) along `axis`; a segment is put in
// ascending order along it, so that its first point is the one at `lo`.
static inline void OrderAlong(HVector2* S, int num, const HVector2& axis, float& lo, float& hi) {
    lo = hi = PhysicsDot(S[0], axis);
    if (num != 2) return;
    hi = PhysicsDot(S[1], axis);
    if (hi < lo) {
        std::swap(lo, hi);
        std::swap(S[0], S[1]);
    }
}

bool ConvertSupportPointsToContacts(const HVector2& N, HVector2* S0, int S0num, HVector2* S1,
                                    int S1num, HVector2* C0, HVector2* C1, int& Cnum) {
    Cnum = 0;
    if (S0num == 0 || S1num == 0) return false;
    if (S0num == 1 && S1num == 1) {
        C0[0] = S0[0];
        C1[0] = S1[0];
        Cnum = 1;
        return true;
    }
    // A single support point stands for a segment of no length, so that the segment
    // lookups below never read a second point that was not found.
    if (S0num == 1) S0[1] = S0[0];
    if (S1num == 1) S1[1] = S1[0];

    HVector2 xPerp = PhysicsPerp(N);
    float min0, max0, min1, max1;
    OrderAlong(S0, S0num, xPerp, min0, max0);
    OrderAlong(S1, S1num, xPerp, min1, max1);
    if (min0 > max1 || min1 > max0) return false;

    HVector2 Pseg;
    if (min0 > min1) {
        FindClosestPoint(S0[0], S1[0], S1[1], Pseg, nullptr);
        C0[Cnum] = S0[0];
        C1[Cnum] = Pseg;
    } else {
        FindClosestPoint(S1[0], S0[0], S0[1], Pseg, nullptr);
        C0[Cnum] = Pseg;
        C1[Cnum] = S1[0];
    }
    Cnum++;
    if (min0 == max0 || min1 == max1) return true;

    if (max0 < max1) {
        FindClosestPoint(S0[1], S1[0], S1[1], Pseg, nullptr);
        C0[Cnum] = S0[1];
        C1[Cnum] = Pseg;
    } else {
        FindClosestPoint(S1[1], S0[0], S0[1], Pseg, nullptr);
        C0[Cnum] = Pseg;
        C1[Cnum] = S1[1];
    }
    Cnum++;
    return true;
}

bool PhysicsBody::FindContacts(const PhysicsBody& other, HVector2 N, float t, HVector2* CA,
                               HVector2* CB, int& Cnum) const {
    const PhysicsMatrix OA = OrientationMatrix();
    const PhysicsMatrix OB = other.OrientationMatrix();
    HVector2 S0[4];
    HVector2 S1[4];
    int S0num = FindSupportPoints(N, t, vertices.data(), VertexCount(), position, velocity, OA, S0);
    int S1num = FindSupportPoints(-N, t, other.vertices.data(), other.VertexCount(), other.position,
                                  other.velocity, OB, S1);
    return ConvertSupportPointsToContacts(N, S0, S0num, S1, S1num, CA, CB, Cnum);
}

void PhysicsBody::ResolveOverlap(HVector2 C0, HVector2 C1, PhysicsBody& other) {
    const float fRelaxation = 1.0f;
    HVector2 D = (C1 - C0) * fRelaxation;
    float mA = immovable ? 0.0f : invMass;
    float mB = other.immovable ? 0.0f : other.invMass;
    float m = mA + mB;
    if (m <= 0.0f) {
        mA = mB = 0.5f;
        m = 1.0f;
    }
    if (mA > 0.0f) position += D * (mA / m);
    if (mB > 0.0f) other.position -= D * (mB / m);
}

bool PhysicsBody::Collide(PhysicsBody& other, float) {
    HVector2 N(0.0f, 0.0f);
    float t = 0.0f;
    if (!FindCollision(other, N, t)) return false;
    if (std::fabs(t) < 0.0001f) return false;
    HVector2 CA[4];
    HVector2 CB[4];
    int Cnum = 0;
    FindContacts(other, N, t, CA, CB, Cnum);
    if (t < 0.0f) {
        // Each pair corrects from the contacts found before any correction: a flat
        // contact of two pairs moves the body twice the depth. Levels are tuned to it.
        for (int i = 0; i < Cnum; i++) ResolveOverlap(CA[i], CB[i], other);
    }
    return true;
}

// Four edges at a time: each lane does the arithmetic of one edge exactly as a one-by-one
// walk would (the same IEEE operations in the same order, no fused multiply-add), and the
// lanes that pass every test are then taken in edge order, the nearest first met winning,
// as the walk keeps it. Point and distance are worked out once, for the winner.
bool PhysicsBody::RayTest(HVector2 origin, HVector2 direction, HVector2& point, HVector2&,
                          float& distance) const {
    const int n = VertexCount();
    if (n <= 0) return false;
    const PhysicsMatrix O = OrientationMatrix();
    // Four placed vertices (position + O·v) from their indices, kept in registers: the lanes
    // past the last vertex wrap round to the first ones (the closing edge ends on vertex 0).
    const HVector2* v = vertices.data();
    const __m128 M0 = _mm_set1_ps(O.m[0]), M1 = _mm_set1_ps(O.m[1]);
    const __m128 M2 = _mm_set1_ps(O.m[2]), M3 = _mm_set1_ps(O.m[3]);
    const __m128 PX = _mm_set1_ps(position.x), PY = _mm_set1_ps(position.y);
    auto place = [&](int k, __m128& x, __m128& y) {
        int at[4];
        for (int lane = 0; lane < 4; lane++) at[lane] = (k + lane) % n;
        const __m128 vx = _mm_setr_ps(v[at[0]].x, v[at[1]].x, v[at[2]].x, v[at[3]].x);
        const __m128 vy = _mm_setr_ps(v[at[0]].y, v[at[1]].y, v[at[2]].y, v[at[3]].y);
        x = _mm_add_ps(PX, _mm_add_ps(_mm_mul_ps(M0, vx), _mm_mul_ps(M1, vy)));
        y = _mm_add_ps(PY, _mm_add_ps(_mm_mul_ps(M2, vx), _mm_mul_ps(M3, vy)));
    };
    const __m128 DX = _mm_set1_ps(direction.x), DY = _mm_set1_ps(direction.y);
    const __m128 OX = _mm_set1_ps(origin.x), OY = _mm_set1_ps(origin.y);
    const __m128 zero = _mm_setzero_ps(), one = _mm_set1_ps(1.0f);
    const __m128 far = _mm_set1_ps(85465168.0f);
    const __m128 lowDen = _mm_set1_ps(-1e-8f), highDen = _mm_set1_ps(1e-8f);
    float bestU = 85465168.0f;
    bool found = false;
    alignas(16) float us[4];
    for (int i = 0; i < n; i += 4) {
        __m128 p0x, p0y, p1x, p1y;
        place(i, p0x, p0y);
        place(i + 1, p1x, p1y);
        const __m128 ex = _mm_sub_ps(p1x, p0x);
        const __m128 ey = _mm_sub_ps(p1y, p0y);
        // den = cross(direction, E); s = cross(D, direction) / den; u = cross(D, E) / den.
        const __m128 den = _mm_sub_ps(_mm_mul_ps(DY, ex), _mm_mul_ps(DX, ey));
        const __m128 dx = _mm_sub_ps(p0x, OX), dy = _mm_sub_ps(p0y, OY);
        const __m128 s = _mm_div_ps(_mm_sub_ps(_mm_mul_ps(dy, DX), _mm_mul_ps(dx, DY)), den);
        const __m128 u = _mm_div_ps(_mm_sub_ps(_mm_mul_ps(dy, ex), _mm_mul_ps(dx, ey)), den);
        const __m128 flat = _mm_and_ps(_mm_cmpge_ps(den, lowDen), _mm_cmplt_ps(den, highDen));
        const __m128 within = _mm_and_ps(_mm_cmpgt_ps(s, zero), _mm_cmplt_ps(s, one));
        const __m128 ahead = _mm_and_ps(_mm_cmpgt_ps(u, zero), _mm_cmplt_ps(u, far));
        int bits = _mm_movemask_ps(_mm_andnot_ps(flat, _mm_and_ps(within, ahead)));
        bits &= n - i >= 4 ? 15 : (1 << (n - i)) - 1;
        if (bits == 0) continue;
        _mm_store_ps(us, u);
        for (; bits; bits &= bits - 1) {
            const float v = us[__builtin_ctz(unsigned(bits))];
            if (v < bestU) {
                bestU = v;
                found = true;
            }
        }
    }
    if (found) {
        point = origin + direction * bestU;
        distance = (point - origin).Length();
    }
    return found;
}

bool RayNearCircle(const PhysicsCircle& circle, const HVector2& origin, const HVector2& direction) {
    float dd = PhysicsDot(direction, direction);
    // A ray of no direction is a point: it is near when the origin itself is.
    float u = dd > 0.0f ? PhysicsDot(circle.centre - origin, direction) / dd : 0.0f;
    if (u < 0.0f) u = 0.0f;
    HVector2 Q = origin + direction * u;
    return (circle.centre - Q).SquaredLength() <= circle.radius * circle.radius;
}

bool CirclesOverlap(const PhysicsCircle& a, const PhysicsCircle& b) {
    float r = a.radius + b.radius;
    return (b.centre - a.centre).SquaredLength() < r * r;
}

void ResolveCollision(HVector2 N, float t, float fCoF, float fCoR, HVector2 C0, HVector2 P0,
                      HVector2& V0, float& w0, float m0, float i0, HVector2 C1, HVector2 P1,
                      HVector2& V1, float& w1, float m1, float i1) {
    float tcoll = t > 0.0f ? t : 0.0f;
    HVector2 Q0 = P0 + V0 * tcoll;
    HVector2 Q1 = P1 + V1 * tcoll;
    HVector2 R0 = C0 - Q0;
    HVector2 R1 = C1 - Q1;
    HVector2 T0 = PhysicsPerp(R0);
    HVector2 T1 = PhysicsPerp(R1);
    HVector2 VP0 = V0 - T0 * w0;
    HVector2 VP1 = V1 - T1 * w1;
    HVector2 Vcoll = VP0 - VP1;
    float vn = PhysicsDot(Vcoll, N);
    HVector2 Vn = N * vn;
    HVector2 Vt = Vcoll - Vn;
    if (vn > 0.0f) return;
    float vt = Vt.Normalise();
    float t0 = PhysicsCross(R0, N) * PhysicsCross(R0, N) * i0;
    float t1 = PhysicsCross(R1, N) * PhysicsCross(R1, N) * i1;
    float denom = m0 + m1 + t0 + t1;
    // Two infinitely heavy bodies: no impulse can move them.
    if (!(denom != 0.0f)) return;
    float jn = vn / denom;
    HVector2 Jn = N * (-(1.0f + fCoR) * jn);
    HVector2 Jt = Vt.NormalisedCopy() * (fCoF * jn);
    HVector2 J = Jn + Jt;
    HVector2 dV0 = J * m0;
    HVector2 dV1 = -J * m1;
    float dw0 = -PhysicsCross(R0, J) * i0;
    float dw1 = PhysicsCross(R1, J) * i1;
    if (m0 > 0.0f) V0 += dV0;
    if (m1 > 0.0f) V1 += dV1;
    if (m0 > 0.0f) w0 += dw0;
    if (m1 > 0.0f) w1 += dw1;
    if (vn < 0.0f && fCoF > 0.0f && (-vt / vn) < fCoF) {
        HVector2 Nfriction = -(Vt.NormalisedCopy());
        ResolveCollision(Nfriction, 0.0f, 0.0f, 1.0f, C0, P0, V0, w0, m0, i0, C1, P1, V1, w1, m1,
                         i1);
    }
}
