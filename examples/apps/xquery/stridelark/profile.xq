xquery version "3.1";

(: The owner, as the app knows them, and whom they follow. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;

<results kind="profile">{
  for $profile in ev:trees($evidence, "profile")
  return
    <owner>{
      ev:origin($profile),
      ev:element("name", ev:node($profile, "account/name")),
      ev:element("mail", ev:node($profile, "account/mail")),
      ev:element("birthday", ev:node($profile, "birthday")),
      ev:element("home", ev:node($profile, "zones/home"))
    }</owner>,
  for $person in ev:records($evidence, "profile_db", "followed")
  order by ev:field($person, "name")
  return
    <followed since="{ ev:field($person, 'since') }">{
      ev:attribute("id", $person/@id),
      ev:origin($person),
      ev:field($person, "name")
    }</followed>
}</results>
