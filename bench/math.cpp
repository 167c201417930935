// Math types and the camera's culling test: the per-frame hot spots of the renderer
// (one IsBoxVisible per tree node, skinning quaternions per bone).
#include <benchmark/benchmark.h>

#include <cmath>
#include <random>
#include <vector>

#include "math/hmath.h"
#include "math/hmatrix4.h"
#include "math/hquaternion.h"
#include "scene/camera.h"

namespace {

Camera MakeCamera() {
    // gluPerspective(60, 1.33, 1, 5000) and a look along +y from (0, 0, 10), as GL stores them.
    float f = 1.0f / std::tan(30.0f * HMath::fDeg2Rad);
    float P[16] = {f / 1.33f,           0, 0, 0, 0, f, 0, 0, 0, 0, -5001.0f / 4999.0f, -1, 0, 0,
                   -10000.0f / 4999.0f, 0};
    float M[16] = {1, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, -10, 0, 1};
    Camera cam;
    cam.position = HVector3(0, 0, 10);
    cam.ExtractFrustum(P, M);
    return cam;
}

std::vector<HAxisAlignedBox> RandomBoxes(size_t n) {
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> pos(-3000.0f, 3000.0f);
    std::uniform_real_distribution<float> size(1.0f, 200.0f);
    std::vector<HAxisAlignedBox> boxes;
    for (size_t i = 0; i < n; ++i) {
        HVector3 lo(pos(rng), pos(rng), pos(rng) * 0.1f);
        boxes.emplace_back(lo, lo + HVector3(size(rng), size(rng), size(rng)));
    }
    return boxes;
}

std::vector<HQuaternion> RandomQuats(size_t n) {
    std::mt19937 rng(2);
    std::uniform_real_distribution<float> d(-1.0f, 1.0f);
    std::vector<HQuaternion> q;
    while (q.size() < n) {
        HQuaternion r(d(rng), d(rng), d(rng), d(rng));
        if (r.Norm() < 0.01f) continue;
        r.Normalise();
        q.push_back(r);
    }
    return q;
}

void BM_ExtractFrustum(benchmark::State& state) {
    float P[16], M[16];
    for (int i = 0; i < 16; ++i) {
        P[i] = 0.1f * i;
        M[i] = 1.0f / (i + 1);
    }
    Camera cam;
    for (auto _ : state) {
        cam.ExtractFrustum(P, M);
        benchmark::DoNotOptimize(cam.frustum);
    }
}
BENCHMARK(BM_ExtractFrustum);

void BM_IsBoxVisible(benchmark::State& state) {
    Camera cam = MakeCamera();
    std::vector<HAxisAlignedBox> boxes = RandomBoxes(4096);
    size_t i = 0;
    int visible = 0;
    for (auto _ : state) {
        visible += cam.IsBoxVisible(boxes[i]) ? 1 : 0;
        i = (i + 1) & 4095;
    }
    benchmark::DoNotOptimize(visible);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_IsBoxVisible);

void BM_QuaternionRotateVector(benchmark::State& state) {
    std::vector<HQuaternion> q = RandomQuats(1024);
    HVector3 v(1, 2, 3);
    size_t i = 0;
    for (auto _ : state) {
        v = q[i] * v;
        i = (i + 1) & 1023;
        benchmark::DoNotOptimize(v);
    }
}
BENCHMARK(BM_QuaternionRotateVector);

void BM_Slerp(benchmark::State& state) {
    std::vector<HQuaternion> q = RandomQuats(1024);
    size_t i = 0;
    for (auto _ : state) {
        HQuaternion r = HQuaternion::Slerp(0.3f, q[i], q[(i + 1) & 1023], true);
        benchmark::DoNotOptimize(r);
        i = (i + 1) & 1023;
    }
}
BENCHMARK(BM_Slerp);

void BM_QuaternionMatrixRoundTrip(benchmark::State& state) {
    std::vector<HQuaternion> q = RandomQuats(1024);
    size_t i = 0;
    for (auto _ : state) {
        HQuaternion r(q[i].ToRotationMatrix());
        benchmark::DoNotOptimize(r);
        i = (i + 1) & 1023;
    }
}
BENCHMARK(BM_QuaternionMatrixRoundTrip);

void BM_Matrix4Inverse(benchmark::State& state) {
    HMatrix4 m(2, 0, 1, 3, 1, 1, 0, 2, 0, 3, 1, 1, 1, 0, 2, 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(m);
        HMatrix4 inv = m.Inverse();
        benchmark::DoNotOptimize(inv);
    }
}
BENCHMARK(BM_Matrix4Inverse);

void BM_RayBox(benchmark::State& state) {
    std::vector<HAxisAlignedBox> boxes = RandomBoxes(4096);
    HRay ray(HVector3(0, 0, 10), HVector3(0.3f, 1.0f, -0.01f));
    size_t i = 0;
    int hits = 0;
    for (auto _ : state) {
        hits += Intersects(ray, boxes[i]).first ? 1 : 0;
        i = (i + 1) & 4095;
    }
    benchmark::DoNotOptimize(hits);
}
BENCHMARK(BM_RayBox);

}  // namespace

BENCHMARK_MAIN();
