#include "host/graph_use.hpp"

#include "host/fields.hpp"
#include "host/options.hpp"

namespace quillan::host {

const vorn_layered::LayoutOptions& UseFacts::options(OptionParts parts) {
  const OptionParts missing = parts & ~known_options_;
  if (missing != 0) {
    if (!options_record_) {
      options_record_ = Fields(state_, graph_).instance(Field::kOptions, state_.layout_options);
    }
    read_options(state_, options_record_.get(), missing, options_);
    known_options_ |= missing;
  }
  return options_;
}

std::vector<std::vector<Ref>>& UseFacts::layers() {
  if (!knows_layers_) {
    const Fields fields(state_, graph_);
    for (const Ref& layer : fields.items(Field::kLayers)) {
      layers_.push_back(fields.items_of(Field::kLayers, layer.get()));
    }
    knows_layers_ = true;
  }
  return layers_;
}

}  // namespace quillan::host
