#pragma once

#include "simulator/resources/DocumentResource.h"

namespace simulator {

/// "/registry/managed-objects": devices, assets and whatever else is managed. Every document shows its relatives in six
/// reference collections; children are added by POST to a document's `childDevices`, `childAssets` or `childAdditions`.
class ManagedObjects final : public DocumentResource {
 public:
  explicit ManagedObjects(Workplace& workplace);

 protected:
  // DocumentResource
  void examine(FieldCheck& check, boost::json::object& document, const boost::json::object* before) override;
  void forget(const std::string& id) override;
  std::string furtherFields(const std::string& id) override;
  Answer answerBelow(const Request& request, std::span<const std::string> below) override;

 private:
  struct Collection;
  static const Collection collections[6];

  Answer addChild(const Request& request, const std::string& id, const Collection& collection);
  Answer readCollection(const std::string& id, const Collection& collection);
  Answer readReference(const std::string& id, const Collection& collection, const std::string& relative);
  std::vector<Relative> relatives(const std::string& id, const Collection& collection);
  std::string reference(const std::string& id, const Collection& collection, const Relative& relative) const;
  void appendCollection(std::string& out, const std::string& id, const Collection& collection,
                        const std::vector<Relative>& relatives) const;
};

}  // namespace simulator
