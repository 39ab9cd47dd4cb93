#include "grundel/math/TtriangleOctreeWalker.h"

#include <algorithm>

unsigned int TtriangleOctreeWalker::nextMark() {
    if (fMarks.size() < fTree->triangleCount())
        fMarks.resize(fTree->triangleCount(), 0);
    if (++fMark == 0) {
        std::fill(fMarks.begin(), fMarks.end(), 0u);
        fMark = 1;
    }
    return fMark;
}

bool TtriangleOctreeWalker::firstHit(const T3dDblPoint& origin, const T4dDblVector& direction,
                                     ToctreeTriangleIntersection& hit, double tMax) {
    // No marks here: a triangle met again in a later cell gives the same
    // answer, and testing it again is cheaper than a mark's cache miss.
    ToctreeTriangleIntersection best;
    bool found = false;
    fRay.walk(*fTree, origin, direction, tMax, [&](unsigned int e, double& limit) {
        double t, u, v;
        if (!fTree->entry(e).intersect(origin, direction, limit, t, u, v))
            return;
        if (t < limit || !found || e < best.triangle) {
            best = ToctreeTriangleIntersection{e, t, u, v};
            found = true;
            limit = t;
        }
    });
    if (found)
        hit = best;
    return found;
}

unsigned int TtriangleOctreeWalker::allHits(const T3dDblPoint& origin, const T4dDblVector& direction,
                                            std::vector<ToctreeTriangleIntersection>& hits, double tMax) {
    hits.clear();
    const unsigned int mark = nextMark();
    fRay.walk(*fTree, origin, direction, tMax, [&](unsigned int e, double& limit) {
        if (fMarks[e] == mark)
            return;
        fMarks[e] = mark;
        double t, u, v;
        if (fTree->entry(e).intersect(origin, direction, limit, t, u, v))
            hits.push_back(ToctreeTriangleIntersection{e, t, u, v});
    });
    std::sort(hits.begin(), hits.end(), [](const ToctreeTriangleIntersection& a, const ToctreeTriangleIntersection& b) {
        return a.t < b.t || (a.t == b.t && a.triangle < b.triangle);
    });
    return static_cast<unsigned int>(hits.size());
}
