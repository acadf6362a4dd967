#include "core/layering/network_simplex.hpp"

#include <algorithm>
#include <queue>
#include <utility>

#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr std::int32_t kPivotsANode = 4;
constexpr std::int32_t kPivotCap = 300;

// The edges at the border of a growing tree whose members all move together. An edge that leaves
// the tree loses slack as the tree moves up, one that enters it gains slack, so each kind keeps its
// order in a heap of its own while the tree moves.
class Border {
 public:
  struct Choice {
    std::int32_t position = -1;  // -1: no edge leaves the tree
    std::int32_t slack = 0;
    bool leaves = false;  // whether the edge's tail is in the tree
  };

  Border(_NetworkSimplex& simplex, std::span<bool> member) : simplex_(simplex), member_(member) {}

  // The shift that the members' ranks have not been given yet.
  [[nodiscard]] std::int32_t shift() const { return shift_; }
  void move(std::int32_t delta) { shift_ += delta; }

  void join(std::int32_t node) {
    member_[node] = true;
    simplex_.rank[node] -= shift_;
    for (const std::int32_t position : simplex_.incident[node]) {
      if (member_[simplex_.other_end(position, node)]) continue;
      const bool leaves = simplex_.edges[position].tail == node;
      (leaves ? leaving_ : entering_).push({simplex_.slack(position), position});
    }
  }

  // The edge of least slack with one end in the tree, the lowest of equals.
  Choice best() {
    drop_inner(leaving_);
    drop_inner(entering_);
    Choice choice;
    if (!leaving_.empty()) {
      choice = {leaving_.top().second, leaving_.top().first - shift_, true};
    }
    if (!entering_.empty()) {
      const Choice other{entering_.top().second, entering_.top().first + shift_, false};
      const bool better =
          std::pair(other.slack, other.position) < std::pair(choice.slack, choice.position);
      if (choice.position < 0 || better) choice = other;
    }
    return choice;
  }

 private:
  using Candidate = std::pair<std::int32_t, std::int32_t>;  // slack at a shift of 0, position
  using Heap = std::priority_queue<Candidate, std::vector<Candidate>, std::greater<>>;

  void drop_inner(Heap& heap) const {
    while (!heap.empty()) {
      const _NetworkSimplex::Edge& edge = simplex_.edges[heap.top().second];
      if (!member_[edge.tail] || !member_[edge.head]) return;
      heap.pop();
    }
  }

  _NetworkSimplex& simplex_;
  std::span<bool> member_;
  std::int32_t shift_ = 0;
  Heap leaving_;
  Heap entering_;
};

}  // namespace

_NetworkSimplex::_NetworkSimplex(std::int32_t node_count, std::span<const Edge> all_edges,
                                 std::span<const std::int32_t> initial_ranks, Arena& scratch)
    : SimplexTree(node_count, 0, all_edges, initial_ranks, scratch),
      lim(scratch.array<std::int32_t>(count, 0)),
      low(scratch.array<std::int32_t>(count, 0)),
      _visited(scratch.array<bool>(count, false)),
      scratch_(scratch) {}

std::vector<std::int32_t> _NetworkSimplex::_tight_tree() {
  std::fill(in_tree.begin(), in_tree.end(), false);
  std::fill(_visited.begin(), _visited.end(), false);
  _visited[0] = true;
  std::vector<std::int32_t> members = {0};
  std::vector<std::int32_t> stack = {0};
  while (!stack.empty()) {
    const std::int32_t node = stack.back();
    stack.pop_back();
    for (const std::int32_t position : incident[node]) {
      if (in_tree[position] || slack(position) != 0) continue;
      const std::int32_t other = other_end(position, node);
      if (_visited[other]) continue;
      in_tree[position] = true;
      _visited[other] = true;
      members.push_back(other);
      stack.push_back(other);
    }
  }
  return members;
}

// For ranks that are not feasible, which only a graph with a cycle has. What is tight goes first
// here, before an edge of less slack than none, so the border's order will not do. Every pass adds
// a node to the tree, since a shift keeps the edges inside it tight. Costs nodes times edges.
void _NetworkSimplex::shift_in_passes() {
  while (true) {
    const std::vector<std::int32_t> members = _tight_tree();
    std::int32_t best = -1;
    for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size());
         ++position) {
      if (_visited[edges[position].tail] == _visited[edges[position].head]) continue;
      if (best < 0 || slack(position) < slack(best)) best = position;
    }
    if (best < 0) return;
    const std::int32_t delta = _visited[edges[best].tail] ? slack(best) : -slack(best);
    for (const std::int32_t node : members) rank[node] += delta;
  }
}

// Defined as growing the tight tree anew after every shift. Only the set of its members decides the
// shifts, and a shift never loses a member, so the set can be grown; the tree itself, whose shape
// does depend on the search, is the one that the last search finds.
void _NetworkSimplex::shift_by_border() {
  const Arena::Frame frame(scratch_);
  const std::span<bool> member = scratch_.array<bool>(count, false);
  Border border(*this, member);
  border.join(0);
  for (Border::Choice best = border.best(); best.position >= 0; best = border.best()) {
    if (best.slack == 0) {
      const Edge& edge = edges[best.position];
      border.join(best.leaves ? edge.head : edge.tail);
    } else {
      border.move(best.leaves ? best.slack : -best.slack);
    }
  }
  for (std::int32_t node = 0; node < count; ++node) {
    if (member[node]) rank[node] += border.shift();
  }
}

void _NetworkSimplex::_feasible_tree() {
  std::int32_t position = static_cast<std::int32_t>(edges.size());
  while (position > 0 && slack(position - 1) >= 0) --position;
  position == 0 ? shift_by_border() : shift_in_passes();
  _tight_tree();
  link_tree();
}

void _NetworkSimplex::_number_tree() {
  struct Visit {
    std::int32_t node;
    std::int32_t cursor;  // into the node's incident edges
  };
  const Arena::Frame frame(scratch_);
  const std::span<bool> visited = scratch_.array<bool>(count, false);
  const std::span<Visit> stack = scratch_.raw_array<Visit>(count);
  std::fill(parent_edge.begin(), parent_edge.end(), -1);
  std::int32_t counter = 0;
  std::int32_t depth = 0;
  stack[depth++] = {0, 0};
  visited[0] = true;
  low[0] = 1;
  while (depth > 0) {
    Visit& top = stack[depth - 1];
    const std::span<const std::int32_t> around = incident[top.node];
    std::int32_t child = -1;
    while (child < 0 && top.cursor < static_cast<std::int32_t>(around.size())) {
      const std::int32_t position = around[top.cursor++];
      if (!in_tree[position] || visited[other_end(position, top.node)]) continue;
      child = other_end(position, top.node);
      parent_edge[child] = position;
    }
    if (child < 0) {
      lim[top.node] = ++counter;
      --depth;
    } else {
      visited[child] = true;
      low[child] = counter + 1;
      stack[depth++] = {child, 0};
    }
  }
  for (std::int32_t node = 0; node < count; ++node) {
    if (!visited[node]) lim[node] = low[node] = ++counter;
    size_[node] = lim[node] - low[node] + 1;
  }
}

void _NetworkSimplex::_compute_cut_values() {
  const Arena::Frame frame(scratch_);
  const std::span<std::int32_t> surplus = scratch_.array<std::int32_t>(count, 0);
  for (const Edge& edge : edges) {
    --surplus[edge.tail];
    ++surplus[edge.head];
  }
  const std::span<std::int32_t> by_lim = scratch_.raw_array<std::int32_t>(count);
  for (std::int32_t node = 0; node < count; ++node) by_lim[lim[node] - 1] = node;
  set_all_cuts(surplus, by_lim);
  examined_ = -1;
}

const _NetworkSimplex::Side& _NetworkSimplex::side_of(std::int32_t leaving) {
  if (examined_ != leaving) examined_side_ = smaller_side(leaving);
  examined_ = leaving;
  return examined_side_;
}

std::int32_t _NetworkSimplex::_enter_edge(std::int32_t leaving) {
  const Side& side = side_of(leaving);
  std::int32_t best = -1;
  std::int32_t best_slack = 0;
  for_each_crossing(side, [&](const TreeLink& link) {
    // Against the leaving edge means from the side of its head to the side of its tail.
    if (link.leaves() != side.has_head) return;
    const std::int32_t position = link.position();
    const std::int32_t current = slack(position);
    if (best < 0 || current < best_slack || (current == best_slack && position < best)) {
      best = position;
      best_slack = current;
    }
  });
  return best;
}

void _NetworkSimplex::pivot(std::int32_t leaving, std::int32_t entering) {
  const Side& side = side_of(leaving);
  const std::int32_t distance = slack(entering);
  // Moving one side up is moving the other side down and then the whole tree up.
  const std::int32_t shift = side.has_head ? distance : -distance;
  if (!side.is_subtree) raised_ -= shift;
  for (const std::int32_t node : side.nodes) rank[node] += shift;
  replace(leaving, entering, side, cut[leaving], -cut[leaving]);
  examined_ = -1;
}

void _NetworkSimplex::settle() {
  for (std::int32_t node = 0; raised_ != 0 && node < count; ++node) {
    if (_visited[node]) rank[node] += raised_;
  }
  raised_ = 0;
  _number_tree();
}

void _NetworkSimplex::_exchange(std::int32_t leaving, std::int32_t entering) {
  pivot(leaving, entering);
  settle();
}

std::vector<std::int32_t> _NetworkSimplex::solve() {
  _feasible_tree();
  _number_tree();
  _compute_cut_values();
  const std::int32_t limit = std::min(kPivotsANode * count, kPivotCap);
  for (std::int32_t round = 0; round < limit; ++round) {
    const std::int32_t leaving = _leave_edge();
    if (leaving < 0) break;
    const std::int32_t entering = _enter_edge(leaving);
    if (entering < 0) break;
    pivot(leaving, entering);
  }
  settle();
  const std::int32_t smallest = *std::min_element(rank.begin(), rank.end());
  std::vector<std::int32_t> result(rank.begin(), rank.end());
  for (std::int32_t& value : result) value -= smallest;
  return result;
}

void _layer_network_simplex(LGraph& graph) {
  const Arena::Frame frame(graph.scratch);
  const std::int32_t count = static_cast<std::int32_t>(graph.nodes.size());
  const std::span<_NetworkSimplex::Edge> pairs =
      graph.scratch.raw_array<_NetworkSimplex::Edge>(graph.edges.size());
  std::size_t used = 0;
  for (const LEdge* edge : graph.edges) {
    const std::int32_t tail = edge->source_node()->position;
    const std::int32_t head = edge->target_node()->position;
    if (tail >= 0 && head >= 0 && tail != head) pairs[used++] = {tail, head};
  }
  if (count < 2 || used == 0) {
    for (LNode* node : graph.nodes) node->layer = 0;
    return;
  }
  _layer_longest_path(graph);
  const std::span<std::int32_t> ranks = graph.scratch.raw_array<std::int32_t>(count);
  for (std::int32_t i = 0; i < count; ++i) ranks[i] = graph.nodes[i]->layer;
  const std::vector<std::int32_t> solved =
      _NetworkSimplex(count, pairs.first(used), ranks, graph.scratch).solve();
  for (std::int32_t i = 0; i < count; ++i) graph.nodes[i]->layer = solved[i];
}

}  // namespace quillan::vorn_layered
