#include "core/layering/network_simplex.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "core/simplex/least_length.hpp"
#include "tests/core/random_graphs.hpp"

namespace quillan::vorn_layered::testing {
namespace {

using Flags = std::vector<bool>;
using Edges = std::vector<_NetworkSimplex::Edge>;
using Weighted = LeastLength<std::int32_t>::Edge;

Flags flags(std::span<const bool> items) { return {items.begin(), items.end()}; }

// The procedure as it is defined: everything is computed anew at each pivot.
struct Naive {
  const Edges& edges;
  Numbers rank;
  std::int32_t count = static_cast<std::int32_t>(rank.size());
  std::int32_t edge_count = static_cast<std::int32_t>(edges.size());
  Flags in_tree = Flags(edges.size());
  Flags visited = Flags(rank.size());
  Numbers parent_edge{};
  Numbers lim{};
  Numbers low{};
  Numbers cut = Numbers(edges.size());

  std::int32_t slack(std::int32_t e) const { return rank[edges[e].head] - rank[edges[e].tail] - 1; }

  Numbers tight_tree() {
    in_tree.assign(edges.size(), false);
    visited.assign(count, false);
    visited[0] = true;
    Numbers members = {0};
    for (Numbers stack = {0}; !stack.empty();) {
      const std::int32_t node = stack.back();
      stack.pop_back();
      for (std::int32_t e = 0; e < edge_count; ++e) {
        const auto [tail, head] = edges[e];
        if ((tail != node && head != node) || in_tree[e] || slack(e) != 0) continue;
        const std::int32_t other = tail == node ? head : tail;
        if (visited[other]) continue;
        in_tree[e] = visited[other] = true;
        members.push_back(other);
        stack.push_back(other);
      }
    }
    return members;
  }

  void feasible_tree() {
    for (std::int32_t guard = 0; guard <= count + 1; ++guard) {
      const Numbers members = tight_tree();
      std::int32_t best = -1;
      for (std::int32_t e = 0; e < edge_count; ++e) {
        if (visited[edges[e].tail] == visited[edges[e].head]) continue;
        if (best < 0 || slack(e) < slack(best)) best = e;
      }
      if (best < 0) return;
      const std::int32_t delta = visited[edges[best].tail] ? slack(best) : -slack(best);
      for (const std::int32_t node : members) rank[node] += delta;
    }
  }

  void visit(std::int32_t node, Flags& seen, std::int32_t& counter) {
    seen[node] = true;
    low[node] = counter + 1;
    for (std::int32_t e = 0; e < edge_count; ++e) {
      const auto [tail, head] = edges[e];
      if (!in_tree[e] || (tail != node && head != node)) continue;
      const std::int32_t child = tail == node ? head : tail;
      if (seen[child]) continue;
      parent_edge[child] = e;
      visit(child, seen, counter);
    }
    lim[node] = ++counter;
  }
  void number_tree() {
    parent_edge.assign(count, -1);
    lim = low = Numbers(count);
    Flags seen(count);
    std::int32_t counter = 0;
    visit(0, seen, counter);
    for (std::int32_t node = 0; node < count; ++node) {
      if (!seen[node]) lim[node] = low[node] = ++counter;
    }
  }

  bool inside(std::int32_t node, std::int32_t root) const {
    return low[root] <= lim[node] && lim[node] <= lim[root];
  }
  std::int32_t child(std::int32_t e) const {
    return parent_edge[edges[e].head] == e ? edges[e].head : edges[e].tail;
  }
  // How `other` crosses the cut of the tree edge `e`: 1 along it, -1 against it, 0 not at all.
  std::int32_t crossing(std::int32_t e, std::int32_t other) const {
    const bool tail_in = inside(edges[other].tail, child(e));
    const bool head_in = inside(edges[other].head, child(e));
    if (tail_in == head_in) return 0;
    return (child(e) == edges[e].head ? head_in : tail_in) ? 1 : -1;
  }
  void compute_cuts() {
    for (std::int32_t e = 0; e < edge_count; ++e) {
      cut[e] = 0;
      for (std::int32_t other = 0; in_tree[e] && other < edge_count; ++other) {
        cut[e] += crossing(e, other);
      }
    }
  }

  bool pivot() {
    std::int32_t leaving = 0;
    while (leaving < edge_count && !(in_tree[leaving] && cut[leaving] < 0)) ++leaving;
    if (leaving == edge_count) return false;
    std::int32_t entering = -1;
    for (std::int32_t e = 0; e < edge_count; ++e) {
      if (in_tree[e] || crossing(leaving, e) >= 0) continue;
      if (entering < 0 || slack(e) < slack(entering)) entering = e;
    }
    if (entering < 0) return false;
    const std::int32_t delta = slack(entering) * (child(leaving) == edges[leaving].head ? 1 : -1);
    const std::int32_t root = child(leaving);
    for (std::int32_t node = 0; node < count; ++node) {
      if (inside(node, root)) rank[node] += delta;
    }
    in_tree[leaving] = false;
    in_tree[entering] = true;
    number_tree();
    compute_cuts();
    return true;
  }

  void begin() {
    feasible_tree();
    number_tree();
    compute_cuts();
  }
  Numbers normalised() const {
    Numbers result = rank;
    for (std::int32_t& value : result) value -= *std::min_element(rank.begin(), rank.end());
    return result;
  }
};

void expect_equal_state(const _NetworkSimplex& simplex, const Naive& naive) {
  EXPECT_EQ(list(simplex.rank), naive.rank);
  EXPECT_EQ(flags(simplex.in_tree), naive.in_tree);
  EXPECT_EQ(list(simplex.parent_edge), naive.parent_edge);
  EXPECT_EQ(list(simplex.lim), naive.lim);
  EXPECT_EQ(list(simplex.low), naive.low);
  EXPECT_EQ(list(simplex.cut), naive.cut);
  EXPECT_EQ(flags(simplex._visited), naive.visited);
}

// Pivots by single steps, by solve() and as defined, compares all that can be seen, and returns the
// number of pivots.
std::int32_t expect_same(const Edges& edges, const Numbers& ranks) {
  const std::int32_t count = static_cast<std::int32_t>(ranks.size());
  Arena arena;
  _NetworkSimplex stepped(count, edges, ranks, arena);
  Naive naive{edges, ranks};
  stepped._feasible_tree();
  stepped._number_tree();
  stepped._compute_cut_values();
  naive.begin();
  std::int32_t pivots = 0;
  for (const std::int32_t most = std::min(4 * count, 300); pivots < most; ++pivots) {
    expect_equal_state(stepped, naive);
    const std::int32_t leaving = stepped._leave_edge();
    const std::int32_t entering = leaving < 0 ? -1 : stepped._enter_edge(leaving);
    EXPECT_EQ(naive.pivot(), entering >= 0);
    if (entering < 0) break;
    stepped._exchange(leaving, entering);
  }
  _NetworkSimplex solver(count, edges, ranks, arena);
  EXPECT_EQ(solver.solve(), naive.normalised());
  expect_equal_state(solver, naive);
  return pivots;
}

// An acyclic graph, its nodes in no particular order, with ranks that leave slack here and there.
void draw(Random& random, std::int32_t count, std::int32_t edge_count, Edges& edges,
          Numbers& ranks) {
  const Numbers order = random.permutation(count);
  Numbers place(count);
  for (std::int32_t i = 0; i < count; ++i) place[order[i]] = i;
  edges.clear();
  for (std::int32_t i = 0; i < edge_count; ++i) {
    std::int32_t a = random.below(count);
    std::int32_t b = random.below(count);
    if (a == b) b = (b + 1) % count;
    if (place[a] > place[b]) std::swap(a, b);
    edges.push_back({a, b});
    if (random.chance(10)) edges.push_back(edges[random.below(static_cast<int>(edges.size()))]);
  }
  ranks.assign(count, 0);
  for (const std::int32_t node : order) {
    if (random.chance(20)) ranks[node] += random.below(4);
    for (const auto [tail, head] : edges) {
      if (tail == node) ranks[head] = std::max(ranks[head], ranks[node] + 1);
    }
  }
}

TEST(NetworkSimplex, EqualsPivotingFromScratch) {
  Random random(4);
  Edges edges;
  Numbers ranks;
  std::int32_t most = 0;
  for (int round = 0; round < 2003 && !HasFailure(); ++round) {
    const bool large = round >= 2000;  // with more to do than the cap on pivots allows
    const std::int32_t count = large ? 260 : random.between(2, 24);
    draw(random, count, large ? 900 : random.between(1, count * 2), edges, ranks);
    // Ranks of a graph that still has cycles: feasible for some edges only.
    if (!large && random.chance(15)) std::swap(ranks.front(), ranks.back());
    most = std::max(most, expect_same(edges, ranks));
  }
  EXPECT_EQ(most, 300) << "no graph reached the cap";
}

// What `ranks` cost, or -1 where an edge is shorter than it may be.
template <typename Ranks>
std::int64_t cost(std::span<const Weighted> edges, const Ranks& ranks) {
  std::int64_t sum = 0;
  for (const Weighted& edge : edges) {
    const std::int64_t slack = ranks[edge.head] - ranks[edge.tail] - edge.length();
    if (slack < 0 && !edge.may_shorten()) return -1;
    sum += slack * (slack < 0 ? -edge.squeeze() : edge.stretch());
  }
  return sum;
}

// Against all ranks that a small graph can have.
TEST(LeastLength, FindsTheLeastCost) {
  Random random(6);
  for (int round = 0; round < 400; ++round) {
    const std::int32_t count = random.between(1, 4);
    std::vector<Weighted> edges;
    Numbers ranks(count);
    for (std::int32_t node = 1; node < count; ++node) ranks[node] = ranks[node - 1] + 3;
    for (std::int32_t i = count == 1 ? 0 : random.between(1, 8); i > 0; --i) {
      const std::int32_t tail = random.below(count - 1);
      const std::int32_t head = random.between(tail + 1, count - 1);
      const std::int32_t weight = random.below(4);
      edges.push_back(random.chance(60)
                          ? Weighted::near(tail, head, random.between(-2, 2), weight)
                          : Weighted::at_least(tail, head, random.between(-1, 3), weight));
    }
    Arena arena;
    LeastLength<std::int32_t> solver(count, edges, ranks, arena);
    solver.solve();
    std::int64_t least = cost(edges, ranks);
    constexpr std::int32_t kRange = 19;  // of all sums of lengths
    std::int32_t combinations = 1;
    for (std::int32_t node = 1; node < count; ++node) combinations *= kRange;
    for (std::int32_t code = 0; code < combinations; ++code) {
      Numbers tried(count);
      for (std::int32_t node = 1, rest = code; node < count; ++node, rest /= kRange) {
        tried[node] = rest % kRange - kRange / 2;
      }
      const std::int64_t found = cost(edges, tried);
      if (found >= 0) least = std::min(least, found);
    }
    ASSERT_EQ(cost(edges, solver.rank), least) << "round " << round;
  }
}

}  // namespace
}  // namespace quillan::vorn_layered::testing
