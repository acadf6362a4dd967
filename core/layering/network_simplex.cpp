#include "core/layering/network_simplex.hpp"

#include <algorithm>
#include <queue>
#include <utility>

#include "core/layering/assign_layers.hpp"

namespace quillan::vorn_layered {

namespace {

constexpr std::int32_t kPivotCap = 300;

Grouped edges_at_nodes(std::int32_t count, std::span<const _NetworkSimplex::Edge> edges,
                       Arena& scratch) {
  const std::span<std::int32_t> ends = scratch.raw_array<std::int32_t>(edges.size() * 2);
  for (std::size_t i = 0; i < edges.size(); ++i) {
    ends[2 * i] = edges[i].tail;
    ends[2 * i + 1] = edges[i].head;
  }
  const Grouped by_end = group_by(ends, count, scratch);
  const std::span<std::int32_t> items = scratch.raw_array<std::int32_t>(ends.size());
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = by_end.items[i] / 2;
  return {by_end.starts, items};
}

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
  using Entry = std::pair<std::int32_t, std::int32_t>;  // slack at a shift of 0, position
  using Heap = std::priority_queue<Entry, std::vector<Entry>, std::greater<>>;

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
    : count(node_count),
      edges(all_edges),
      rank(scratch.raw_array<std::int32_t>(count)),
      incident(edges_at_nodes(count, all_edges, scratch)),
      in_tree(scratch.array<bool>(edges.size(), false)),
      parent_edge(scratch.array<std::int32_t>(count, -1)),
      lim(scratch.array<std::int32_t>(count, 0)),
      low(scratch.array<std::int32_t>(count, 0)),
      cut(scratch.array<std::int32_t>(edges.size(), 0)),
      _visited(scratch.array<bool>(count, false)),
      scratch_(scratch),
      links_(incident, all_edges, scratch),
      negative_(static_cast<std::int32_t>(edges.size()), scratch),
      size_(scratch.array<std::int32_t>(count, 1)),
      side_(scratch.array<std::int32_t>(count, 0)),
      climb_(scratch.array<std::int32_t>(count, 0)) {
  std::copy(initial_ranks.begin(), initial_ranks.end(), rank.begin());
}

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

// The passes as stated, for ranks that are not feasible: only a graph with a cycle has such. A
// shift may then lose members, and nothing but the count of passes ends the loop.
void _NetworkSimplex::shift_in_passes() {
  for (std::int32_t guard = 0; guard <= count + 1; ++guard) {
    const std::vector<std::int32_t> members = _tight_tree();
    if (static_cast<std::int32_t>(members.size()) == count) return;
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
  closed_ = false;
}

// Stated as growing the tight tree anew after every shift. Only the set of its members decides the
// shifts, and a shift never loses a member, so the set can be grown; the tree itself, whose shape
// does depend on the search, is the one that the last search finds.
void _NetworkSimplex::_feasible_tree() {
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    if (slack(position) < 0) {
      shift_in_passes();
      return;
    }
  }
  {
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
  _tight_tree();
}

void _NetworkSimplex::_number_tree() {
  struct Entry {
    std::int32_t node;
    std::int32_t cursor;  // into the node's incident edges
  };
  const Arena::Frame frame(scratch_);
  const std::span<bool> visited = scratch_.array<bool>(count, false);
  const std::span<Entry> stack = scratch_.raw_array<Entry>(count);
  std::fill(parent_edge.begin(), parent_edge.end(), -1);
  std::int32_t counter = 0;
  std::int32_t depth = 0;
  stack[depth++] = {0, 0};
  visited[0] = true;
  low[0] = 1;
  while (depth > 0) {
    Entry& top = stack[depth - 1];
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

void _NetworkSimplex::set_cut(std::int32_t position, std::int32_t value) {
  cut[position] = value;
  if (value < 0 && in_tree[position]) {
    negative_.insert(position);
  } else {
    negative_.erase(position);
  }
}

void _NetworkSimplex::_compute_cut_values() {
  const Arena::Frame frame(scratch_);
  const std::span<std::int32_t> surplus = scratch_.array<std::int32_t>(count, 0);
  for (const Edge& edge : edges) {
    --surplus[edge.tail];
    ++surplus[edge.head];
  }
  // In lim order a node comes after its whole subtree, whose edges with both ends inside cancel.
  const std::span<std::int32_t> by_lim = scratch_.raw_array<std::int32_t>(count);
  for (std::int32_t node = 0; node < count; ++node) by_lim[lim[node] - 1] = node;
  for (const std::int32_t node : by_lim) {
    if (parent_edge[node] >= 0) surplus[parent(node)] += surplus[node];
  }
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    if (!in_tree[position]) {
      set_cut(position, 0);
      continue;
    }
    const std::int32_t child = child_of(position);
    set_cut(position, child == edges[position].head ? surplus[child] : -surplus[child]);
  }
}

void _NetworkSimplex::find_smaller_side(std::int32_t leaving) {
  if (examined_ == leaving) return;
  examined_ = leaving;
  const std::int32_t child = child_of(leaving);
  small_is_subtree_ = 2 * size_[child] <= size_[0];
  const std::int32_t start = small_is_subtree_ ? child : other_end(leaving, child);
  small_stamp_ = ++stamp_;
  small_.assign(1, start);
  side_[start] = small_stamp_;
  for (std::size_t cursor = 0; cursor < small_.size(); ++cursor) {
    for (const TreeLink& link : links_.tree(small_[cursor])) {
      if (side_[link.other] == small_stamp_ || link.position() == leaving) continue;
      side_[link.other] = small_stamp_;
      small_.push_back(link.other);
    }
  }
}

std::int32_t _NetworkSimplex::_enter_edge(std::int32_t leaving) {
  find_smaller_side(leaving);
  // An edge against the leaving one runs from the side of its head to the side of its tail. No tree
  // edge but the leaving one crosses the cut.
  const bool subtree_has_head = child_of(leaving) == edges[leaving].head;
  const bool small_has_head = small_is_subtree_ == subtree_has_head;
  std::int32_t best = -1;
  std::int32_t best_slack = 0;
  for (const std::int32_t node : small_) {
    for (const TreeLink& link : links_.rest(node)) {
      if (link.leaves() != small_has_head || side_[link.other] == small_stamp_) continue;
      const std::int32_t position = link.position();
      const std::int32_t current = slack(position);
      if (best < 0 || current < best_slack || (current == best_slack && position < best)) {
        best = position;
        best_slack = current;
      }
    }
  }
  return best;
}

std::int32_t _NetworkSimplex::lowest_common_ancestor(std::int32_t a, std::int32_t b) {
  // Both climb in turn; the first to stand where the other has been has found the ancestor.
  const std::int32_t stamp = ++stamp_;
  while (true) {
    if (a >= 0) {
      if (climb_[a] == stamp) return a;
      climb_[a] = stamp;
      a = parent_edge[a] >= 0 ? parent(a) : -1;
    }
    std::swap(a, b);
  }
}

// Walks the tree path in the direction in which the cycle of the entering edge runs through it.
// With the leaving edge's cut value c, an edge that points along the walk loses c and one that
// points against it gains c: taking the edge away separates the same parts as before, except that
// one whole side of the old cut has changed places.
void _NetworkSimplex::update_cuts_on_path(std::int32_t from, std::int32_t to,
                                          std::int32_t leaving_cut) {
  const std::int32_t top = lowest_common_ancestor(from, to);
  for (std::int32_t node = from; node != top; node = parent(node)) {
    const std::int32_t position = parent_edge[node];
    const bool along = edges[position].tail == node;
    set_cut(position, cut[position] + (along ? -leaving_cut : leaving_cut));
  }
  for (std::int32_t node = to; node != top; node = parent(node)) {
    const std::int32_t position = parent_edge[node];
    const bool along = edges[position].head == node;
    set_cut(position, cut[position] + (along ? -leaving_cut : leaving_cut));
  }
}

void _NetworkSimplex::add_to_sizes(std::int32_t from, std::int32_t change) {
  for (std::int32_t node = from;; node = parent(node)) {
    size_[node] += change;
    if (parent_edge[node] < 0) return;
  }
}

// Hangs the subtree that ended at `old_top` onto `entering`, whose end in it is `from`.
void _NetworkSimplex::reroot(std::int32_t from, std::int32_t old_top, std::int32_t entering) {
  const std::int32_t total = size_[old_top];
  add_to_sizes(parent(old_top), -total);
  std::int32_t below = 0;  // the size that the node before on the path had
  for (std::int32_t node = from, edge = entering;;) {
    const std::int32_t up = parent_edge[node];
    const std::int32_t next = other_end(up, node);
    parent_edge[node] = edge;
    below = std::exchange(size_[node], total - below);
    if (node == old_top) break;
    edge = up;
    node = next;
  }
  add_to_sizes(parent(from), total);
}

void _NetworkSimplex::_exchange(std::int32_t leaving, std::int32_t entering) {
  find_smaller_side(leaving);
  const std::int32_t child = child_of(leaving);
  const bool subtree_has_head = child == edges[leaving].head;
  const std::int32_t shift = subtree_has_head ? slack(entering) : -slack(entering);
  // Moving one side up is moving the other side down and then the whole tree up.
  const std::int32_t small_shift = small_is_subtree_ ? shift : -shift;
  if (!small_is_subtree_) raised_ += shift;
  for (const std::int32_t node : small_) rank[node] += small_shift;

  const std::int32_t leaving_cut = cut[leaving];
  update_cuts_on_path(edges[entering].head, edges[leaving].tail, leaving_cut);
  update_cuts_on_path(edges[leaving].head, edges[entering].tail, leaving_cut);
  in_tree[leaving] = false;
  in_tree[entering] = true;
  links_.take_from_tree(leaving);
  links_.add_to_tree(entering);
  set_cut(leaving, 0);
  set_cut(entering, -leaving_cut);
  reroot(subtree_has_head ? edges[entering].tail : edges[entering].head, child, entering);
  examined_ = -1;
}

std::vector<std::int32_t> _NetworkSimplex::solve() {
  _feasible_tree();
  _number_tree();
  _compute_cut_values();
  for (std::int32_t position = 0; position < static_cast<std::int32_t>(edges.size()); ++position) {
    if (in_tree[position]) links_.add_to_tree(position);
  }
  // An edge out of the tree has no path in it to pivot along; the ranks stay as they are.
  const std::int32_t limit = closed_ ? std::min(4 * count, kPivotCap) : 0;
  for (std::int32_t pivot = 0; pivot < limit; ++pivot) {
    const std::int32_t leaving = _leave_edge();
    if (leaving < 0) break;
    const std::int32_t entering = _enter_edge(leaving);
    if (entering < 0) break;
    _exchange(leaving, entering);
  }
  for (std::int32_t node = 0; node < count; ++node) {
    if (_visited[node]) rank[node] += raised_;
  }
  raised_ = 0;
  _number_tree();
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
