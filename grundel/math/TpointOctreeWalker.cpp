#include "grundel/math/TpointOctreeWalker.h"

const ToctreePoint* TpointOctreeWalker::findNearest(const T3dDblPoint& query, double maxDistance) {
    const double q[3] = {query.x, query.y, query.z};
    if (std::isnan(q[0]) || std::isnan(q[1]) || std::isnan(q[2]) || !(maxDistance >= 0))
        return nullptr;
    double best2 = maxDistance * maxDistance;
    const ToctreePoint* best = nullptr;

    fStack.clear();
    fStack.push_back(Item{fTree, grundel::detail::boxDistance2(*fTree, q)});
    while (!fStack.empty()) {
        const Item item = fStack.back();
        fStack.pop_back();
        // Equal distance still enters: a tie with a lower index may be inside.
        if (item.d2 > best2)
            continue;
        const TotNode<ToctreePoint>* node = item.node;
        for (const ToctreePoint& p : *node) {
            const double dx = p.point.x - q[0], dy = p.point.y - q[1], dz = p.point.z - q[2];
            const double d2 = dx * dx + dy * dy + dz * dz;
            if (d2 < best2 || (d2 == best2 && (!best || p.index < best->index))) {
                best2 = d2;
                best = &p;
            }
        }
        if (!node->isSplit())
            continue;

        // Per axis: the query's side of the centre, the gap to the parent box
        // on the near side and to the dividing plane on the far side.
        int nearOctant = 0;
        double nearGap[3], farGap[3];
        const T3dFltPoint& c = node->center();
        const T3dFltPoint& lo = node->minCorner();
        const T3dFltPoint& hi = node->maxCorner();
        for (int k = 0; k < 3; ++k) {
            const double g = q[k] < lo[k] ? lo[k] - q[k] : q[k] > hi[k] ? q[k] - hi[k] : 0.0;
            nearGap[k] = g * g;
            const double f = q[k] - c[k];
            farGap[k] = f * f;
            if (q[k] >= c[k])
                nearOctant |= 1 << k;
        }
        Item kids[8];
        int n = 0;
        for (int i = 0; i < 8; ++i) {
            const TotNode<ToctreePoint>* ch = node->child(i);
            if (!ch)
                continue;
            const int far = i ^ nearOctant;
            double d2 = (far & 1) ? farGap[0] : nearGap[0];
            d2 += (far & 2) ? farGap[1] : nearGap[1];
            d2 += (far & 4) ? farGap[2] : nearGap[2];
            if (d2 > best2)
                continue;
            ch->prefetch();
            // Sorted farthest first, so that the nearest is popped first.
            int at = n++;
            while (at > 0 && kids[at - 1].d2 < d2) {
                kids[at] = kids[at - 1];
                --at;
            }
            kids[at] = Item{ch, d2};
        }
        fStack.insert(fStack.end(), kids, kids + n);
    }
    fBest2 = best ? best2 : 0;
    return best;
}

unsigned int TpointOctreeWalker::findWithin(const T3dDblPoint& q, double radius, std::vector<ToctreePoint>& out) {
    out.clear();
    forEachWithin(q, radius, [&out](const ToctreePoint& p) { out.push_back(p); });
    return static_cast<unsigned int>(out.size());
}
